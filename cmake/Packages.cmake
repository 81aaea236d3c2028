# Debian packages by `cpack`: a library each, what programs are built with, and the tool.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME coregeometry)
set(CPACK_PACKAGE_CONTACT "The CoreGeometry maintainers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Finite-element geometry and mesh data model")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON) # by dpkg-shlibdeps, of the package dpkg-dev
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${PROJECT_BINARY_DIR} ${PROJECT_BINARY_DIR}/exchange ${PROJECT_BINARY_DIR}/picture
  ${PROJECT_BINARY_DIR}/module/split ${PROJECT_BINARY_DIR}/module/split_mpi)

# cg_package(<component> NAME <name> SECTION <section> SUMMARY <text> [DEPENDS <components>])
macro(cg_package component)
  cmake_parse_arguments(ARG "" "NAME;SECTION;SUMMARY" "DEPENDS" ${ARGN})
  string(TOUPPER ${component} upper)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${ARG_NAME})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${ARG_SECTION})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${CPACK_PACKAGE_DESCRIPTION_SUMMARY}: ${ARG_SUMMARY}")
  set(CPACK_COMPONENT_${upper}_DEPENDS ${ARG_DEPENDS})
  # of a package alone, not of an ordinary installation
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/copyright DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${ARG_NAME}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()
set(CPACK_COMPONENTS_ALL "")
cg_package(Library NAME libcoregeometry${CG_SOVERSION} SECTION libs SUMMARY "libraries of the model and its database")
set(needs_Distributed "")
if(TARGET CoreGeometryExchange)
  set(needs_Distributed Exchange)
endif()
set(needs_Mpi Distributed Exchange) # further components that a library or its program links
foreach(component IN LISTS components)
  string(TOLOWER ${component} name)
  cg_package(${component} NAME libcoregeometry-${name}${CG_SOVERSION} SECTION libs
    SUMMARY "library of the component ${component}" DEPENDS Library ${needs_${component}})
endforeach()
if(TARGET CoreGeometryExodus)
  cg_package(Exodus NAME coregeometry-exodus SECTION libs SUMMARY "plug-in that reads and writes Exodus II files"
    DEPENDS Library Exchange)
endif()
cg_package(Development NAME libcoregeometry-dev SECTION libdevel SUMMARY "headers, CMake package and pkg-config files"
  DEPENDS Library ${components})
if(CORE_GEOMETRY_TOOLS)
  cg_package(Tool NAME coregeometry SECTION science SUMMARY "command-line program" DEPENDS Library ${components})
  set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS coregeometry-exodus)
endif()
include(CPack)
