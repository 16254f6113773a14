# The Debian packages libvesk1, libvesk-dev and vesk-tools, for the system that builds them:
#   cmake --workflow --preset package
# Whoever gives them away sets VESK_MAINTAINER.
set(VESK_MAINTAINER "VESK authors <authors@vesk.example>" CACHE STRING
  "Name and mail address of the maintainer of the packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGE_CONTACT ${VESK_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/finish-debian.cmake)
set(CPACK_COMPONENTS_GROUPING IGNORE)
get_cmake_property(CPACK_COMPONENTS_ALL COMPONENTS)
list(REMOVE_ITEM CPACK_COMPONENTS_ALL Unspecified)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE vesk)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(about "VESK executes systems of components: atoms with ports and clocks,
connectors between them and priorities, written as classes of C++.")

# CPack has no variable for the field Multi-Arch, so it follows the section.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libvesk${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION "libs\nMulti-Arch: same")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "execution engine for component systems
${about}

This package has the library that runs the models.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvesk-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION "libdevel\nMulti-Arch: same")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "cmake, g++, pkgconf")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "execution engine for component systems, for development
${about}

This package has what models are built with: headers, a CMake package, a
file for pkg-config, examples, documents, and the completion of bash for
the programs that run models.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME vesk-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "graphviz, gnuplot-nox, gtkwave")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "execution engine for component systems, programs
${about}

This package has programs that run models in other formats, such as Petri
nets in PNML, one that reads what explorations have found, and one that
shows what runs have done, as tables, waves and timelines.")

include(CPack)
