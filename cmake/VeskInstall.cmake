# What an installation has besides the library and its headers, in three components: runtime,
# development and tools. All of it may be moved to another place.
include(CMakePackageConfigHelpers)

set(VESK_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/vesk)
set(VESK_INSTALL_DOCDIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/vesk)
set(VESK_INSTALL_COMPLETIONDIR ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions)

# vesk_install_manual(<file>.<section>.in <component>): the page with the version filled in.
function(vesk_install_manual source component)
  cmake_path(GET source STEM LAST_ONLY page)
  string(REGEX REPLACE ".*\\." "" section ${page})
  set(built ${PROJECT_BINARY_DIR}/man/${page})
  configure_file(${source} ${built} @ONLY)
  set_property(GLOBAL APPEND PROPERTY VESK_MANUAL_PAGES ${built})
  install(FILES ${built} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
endfunction()

# Where an installed program looks for the library. Those of the system's packages need not look.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL /usr)
  file(RELATIVE_PATH libraries_from_programs
    /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
  set(VESK_INSTALL_RPATH $ORIGIN/${libraries_from_programs})
endif()

# vesk_install_tool(<target> [<completion>]): a program with its manual page <target>.1.in beside its
# CMakeLists.txt. Its completion is the one that all models have, or another file of completion/.
function(vesk_install_tool tool)
  set(completion vesk-model.bash)
  if(ARGC GREATER 1)
    set(completion ${ARGV1})
  endif()
  set_target_properties(${tool} PROPERTIES INSTALL_RPATH "${VESK_INSTALL_RPATH}")
  install(TARGETS ${tool} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  vesk_install_manual(${CMAKE_CURRENT_SOURCE_DIR}/${tool}.1.in tools)
  install(FILES ${PROJECT_SOURCE_DIR}/completion/${completion}
    DESTINATION ${VESK_INSTALL_COMPLETIONDIR} RENAME ${tool} COMPONENT tools)
  # The program that inspects it, of the tools that are models.
  if(TARGET ${tool}-inspect)
    vesk_install_tool(${tool}-inspect)
  endif()
endfunction()

# For CMake: the target vesk::vesk and vesk_add_model.
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vesk-config.cmake.in
  ${PROJECT_BINARY_DIR}/cmake/vesk-config.cmake
  INSTALL_DESTINATION ${VESK_INSTALL_CMAKEDIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/cmake/vesk-config-version.cmake
  COMPATIBILITY SameMajorVersion
  ARCH_INDEPENDENT)  # vesk-config.cmake compares the word widths and says more
install(FILES
  ${PROJECT_BINARY_DIR}/cmake/vesk-config.cmake
  ${PROJECT_BINARY_DIR}/cmake/vesk-config-version.cmake
  ${PROJECT_SOURCE_DIR}/cmake/VeskAddModel.cmake
  ${PROJECT_SOURCE_DIR}/cmake/VeskPins.cmake
  DESTINATION ${VESK_INSTALL_CMAKEDIR} COMPONENT development)
# The plugins for LTSmin are compiled with the headers that the user has.
foreach(kind PINS PINS_ENGINE)
  foreach(file ${VESK_${kind}_FILES})
    cmake_path(GET file PARENT_PATH folder)
    install(FILES ${VESK_${kind}_FOLDER}/${file}
      DESTINATION ${VESK_INSTALL_CMAKEDIR}/pins/${folder} COMPONENT development)
    configure_file(${VESK_${kind}_FOLDER}/${file} ${PROJECT_BINARY_DIR}/cmake/pins/${file} COPYONLY)
  endforeach()
endforeach()
install(EXPORT vesk-targets NAMESPACE vesk::
  DESTINATION ${VESK_INSTALL_CMAKEDIR} COMPONENT development)

# The build can be used like an installation: -D vesk_DIR=<build>/cmake.
export(EXPORT vesk-targets NAMESPACE vesk:: FILE ${PROJECT_BINARY_DIR}/cmake/vesk-targets.cmake)
foreach(module VeskAddModel VeskPins)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${module}.cmake
    ${PROJECT_BINARY_DIR}/cmake/${module}.cmake COPYONLY)
endforeach()

# For pkg-config, with the prefix relative to the file's own place.
set(VESK_PKGCONFIGDIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
string(REGEX REPLACE "[^/]+" ".." VESK_PREFIX_FROM_PKGCONFIG ${VESK_PKGCONFIGDIR})
configure_file(${PROJECT_SOURCE_DIR}/cmake/vesk.pc.in ${PROJECT_BINARY_DIR}/vesk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vesk.pc DESTINATION ${VESK_PKGCONFIGDIR} COMPONENT development)

# To read and to start from.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples ${PROJECT_SOURCE_DIR}/support
  DESTINATION ${VESK_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs
  DESTINATION ${VESK_INSTALL_DOCDIR} COMPONENT development
  FILES_MATCHING PATTERN *.md PATTERN *.dot PATTERN *.svg PATTERN *.cpp PATTERN man EXCLUDE)
install(FILES ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  DESTINATION ${VESK_INSTALL_DOCDIR} COMPONENT development)
vesk_install_manual(${PROJECT_SOURCE_DIR}/docs/man/vesk-model.7.in development)
install(FILES ${PROJECT_SOURCE_DIR}/completion/vesk-model.bash
  DESTINATION ${VESK_INSTALL_COMPLETIONDIR} RENAME vesk-model COMPONENT development)
