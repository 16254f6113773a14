# Checks Debian packages: cmake -D LINTIAN=<program> -D PACKAGES=<folder> -P run-lintian.cmake
cmake_minimum_required(VERSION 3.25)
file(GLOB packages ${PACKAGES}/*.deb)
list(LENGTH packages count)
if(count LESS 2)
  message(FATAL_ERROR "Packages are missing in ${PACKAGES}")
endif()
execute_process(COMMAND ${LINTIAN} --allow-root --fail-on error ${packages}
  COMMAND_ERROR_IS_FATAL ANY)
