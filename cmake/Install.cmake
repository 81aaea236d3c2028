# Installs what is built: libraries, headers, a CMake package and pkg-config files, one for the core and one for each
# component.
set(CG_INCLUDE ${CMAKE_INSTALL_INCLUDEDIR}/coregeometry)
get_property(headers GLOBAL PROPERTY CG_PUBLIC_HEADERS) # of the layers that are built
list(TRANSFORM headers PREPEND ${PROJECT_SOURCE_DIR}/include/CoreGeometry/)
install(FILES ${headers} DESTINATION ${CG_INCLUDE}/CoreGeometry COMPONENT Development)
foreach(library core_utils basic_utils cae_utils rom rfm_interface diagnostic_extractor)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/${library}/include/ DESTINATION ${CG_INCLUDE} COMPONENT Development
    FILES_MATCHING PATTERN "*.h" PATTERN "*.inl")
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT Library)

# Who links a static library also links what it uses: how CMake and pkg-config find each of these.
set(find_PkgConfig__SQLITE3 "find_dependency(PkgConfig)\npkg_check_modules(SQLITE3 REQUIRED IMPORTED_TARGET sqlite3)\n")
set(requires_PkgConfig__SQLITE3 sqlite3)
set(find_PkgConfig__XXHASH "find_dependency(PkgConfig)\npkg_check_modules(XXHASH REQUIRED IMPORTED_TARGET libxxhash)\n")
set(requires_PkgConfig__XXHASH libxxhash)
set(find_Threads__Threads "find_dependency(Threads)\n")
set(libs_Threads__Threads -pthread)
set(find_ZLIB__ZLIB "find_dependency(ZLIB)\n")
set(requires_ZLIB__ZLIB zlib)
set(find_EXPAT__EXPAT "find_dependency(EXPAT)\n")
set(requires_EXPAT__EXPAT expat)
set(find_PNG__PNG "find_dependency(PNG)\n")
set(requires_PNG__PNG libpng)
set(find_ExodusII__ExodusII "list(APPEND CMAKE_MODULE_PATH \${CMAKE_CURRENT_LIST_DIR})\nfind_dependency(ExodusII)\n")
set(libs_ExodusII__ExodusII ${ExodusII_LIBRARY} ${ExodusII_NETCDF_LIBRARY})

set(find_METIS__METIS "list(APPEND CMAKE_MODULE_PATH \${CMAKE_CURRENT_LIST_DIR})\nfind_dependency(METIS)\n")
set(libs_METIS__METIS ${METIS_LIBRARY})

set(find_MPI__MPI_CXX "set(MPI_CXX_SKIP_MPICXX TRUE)\nfind_dependency(MPI COMPONENTS CXX)\n")
set(requires_MPI__MPI_CXX mpi-cxx)

set(CG_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/CoreGeometry)
# the .pc files find the prefix from their own place, so that an installed tree can be moved
file(RELATIVE_PATH CG_PC_UP /x/${CMAKE_INSTALL_LIBDIR}/pkgconfig /x)
get_property(components GLOBAL PROPERTY CG_COMPONENTS)
foreach(CG_COMPONENT "" ${components})
  install(EXPORT CoreGeometry${CG_COMPONENT}Targets NAMESPACE CoreGeometry:: DESTINATION ${CG_PACKAGE}
    COMPONENT Development)
  set(find "")
  set(CG_PC_REQUIRES "")
  set(CG_PC_LIBS "")
  get_property(used GLOBAL PROPERTY CG_LINK_${CG_COMPONENT})
  set(others ${used}) # components that this one links
  list(FILTER used EXCLUDE REGEX "^CoreGeometry")
  list(FILTER others INCLUDE REGEX "^CoreGeometry[A-Z]")
  # MPI's header is included by a public one, so users of shared libraries need it, too
  if(NOT BUILD_SHARED_LIBS OR "MPI::MPI_CXX" IN_LIST used)
    foreach(library IN LISTS used)
      string(MAKE_C_IDENTIFIER ${library} id)
      if(NOT DEFINED find_${id})
        message(FATAL_ERROR "cmake/Install.cmake does not say how users of static libraries find ${library}")
      endif()
      string(APPEND find "${find_${id}}")
      string(APPEND CG_PC_REQUIRES ", ${requires_${id}}")
      string(REPLACE ";" " " libs "${libs_${id}}")
      string(APPEND CG_PC_LIBS " ${libs}")
    endforeach()
    string(REGEX REPLACE "(, )+" ", " CG_PC_REQUIRES "${CG_PC_REQUIRES}")
    string(REGEX REPLACE ", $" "" CG_PC_REQUIRES "${CG_PC_REQUIRES}")
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/CoreGeometry${CG_COMPONENT}Dependencies.cmake CONTENT "${find}" @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/CoreGeometry${CG_COMPONENT}Dependencies.cmake DESTINATION ${CG_PACKAGE}
      COMPONENT Development)
    foreach(own ExodusII METIS)
      if("${own}::${own}" IN_LIST used)
        install(FILES ${PROJECT_SOURCE_DIR}/cmake/Find${own}.cmake DESTINATION ${CG_PACKAGE} COMPONENT Development)
      endif()
    endforeach()
  endif()
  if(CG_COMPONENT)
    foreach(other IN LISTS others)
      string(REGEX REPLACE "^CoreGeometry" "" other ${other})
      string(TOLOWER ${other} other)
      string(APPEND CG_PC_REQUIRES ", coregeometry-${other}")
    endforeach()
  endif()
  set(template component.pc.in)
  set(file coregeometry-${CG_COMPONENT}.pc)
  if(NOT CG_COMPONENT)
    set(template coregeometry.pc.in)
    set(file coregeometry.pc)
    string(REGEX REPLACE "^, " "" CG_PC_REQUIRES "${CG_PC_REQUIRES}")
  endif()
  string(TOLOWER ${file} file)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${template} ${PROJECT_BINARY_DIR}/${file} @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
endforeach()
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/CoreGeometryConfig.cmake.in
  ${PROJECT_BINARY_DIR}/CoreGeometryConfig.cmake INSTALL_DESTINATION ${CG_PACKAGE})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/CoreGeometryConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CoreGeometryConfig.cmake ${PROJECT_BINARY_DIR}/CoreGeometryConfigVersion.cmake
  DESTINATION ${CG_PACKAGE} COMPONENT Development)

if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall COMMENT "Removing what was installed last from this build folder"
    COMMAND ${CMAKE_COMMAND} -DMANIFEST=${PROJECT_BINARY_DIR}/install_manifest.txt
            -P ${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake VERBATIM)
  if(BUILD_SHARED_LIBS)
    include(cmake/Packages.cmake)
  endif()
endif()
