# Run by CPack before it closes the packages: adds what each Debian package must have and compresses
# manual pages.
find_program(GZIP gzip REQUIRED)

foreach(component ${CPACK_COMPONENTS_ALL})
  set(usr ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr)
  string(TOUPPER ${component} upper)
  set(doc ${usr}/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  file(COPY ${CMAKE_CURRENT_LIST_DIR}/copyright DESTINATION ${doc})
  configure_file(${CMAKE_CURRENT_LIST_DIR}/changelog.in ${doc}/changelog @ONLY)
  file(GLOB pages ${usr}/share/man/man*/*)
  execute_process(COMMAND ${GZIP} -9nf ${doc}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
