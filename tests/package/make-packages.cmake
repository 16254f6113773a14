# Builds the Debian packages from a copy of the sources:
#   cmake -D SOURCE=<folder> -D SCRATCH=<folder> -P make-packages.cmake
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${SCRATCH})
file(COPY ${SOURCE}/ DESTINATION ${SCRATCH}
  PATTERN .git EXCLUDE
  PATTERN build EXCLUDE
  PATTERN tests EXCLUDE)

# The copy is to be compiled, not to be taken from a cache of the original's objects.
set(ENV{CCACHE_DISABLE} 1)
execute_process(COMMAND ${CMAKE_COMMAND} --workflow --preset package
  WORKING_DIRECTORY ${SCRATCH} COMMAND_ERROR_IS_FATAL ANY)
