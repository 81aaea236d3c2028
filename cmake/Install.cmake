# Installs the libraries, their headers, a CMake package and pkg-config files: one for the core, one for each component.
set(CG_INCLUDE ${CMAKE_INSTALL_INCLUDEDIR}/coregeometry)
get_property(headers GLOBAL PROPERTY CG_PUBLIC_HEADERS) # of the layers that are built
list(TRANSFORM headers PREPEND ${PROJECT_SOURCE_DIR}/include/CoreGeometry/)
install(FILES ${headers} DESTINATION ${CG_INCLUDE}/CoreGeometry)
foreach(library core_utils basic_utils cae_utils rom rfm_interface diagnostic_extractor)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/${library}/include/ DESTINATION ${CG_INCLUDE}
    FILES_MATCHING PATTERN "*.h" PATTERN "*.inl")
endforeach()

set(CG_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/CoreGeometry)
get_property(components GLOBAL PROPERTY CG_COMPONENTS)
foreach(part "" ${components})
  install(EXPORT CoreGeometry${part}Targets NAMESPACE CoreGeometry:: DESTINATION ${CG_PACKAGE})
endforeach()
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/CoreGeometryConfig.cmake.in
  ${PROJECT_BINARY_DIR}/CoreGeometryConfig.cmake INSTALL_DESTINATION ${CG_PACKAGE})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/CoreGeometryConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CoreGeometryConfig.cmake ${PROJECT_BINARY_DIR}/CoreGeometryConfigVersion.cmake
  DESTINATION ${CG_PACKAGE})

# the .pc file finds the prefix from its own place, so that an installed tree can be moved
file(RELATIVE_PATH CG_PC_UP /x/${CMAKE_INSTALL_LIBDIR}/pkgconfig /x)
configure_file(${PROJECT_SOURCE_DIR}/cmake/coregeometry.pc.in ${PROJECT_BINARY_DIR}/coregeometry.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/coregeometry.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
foreach(CG_COMPONENT IN LISTS components)
  string(TOLOWER coregeometry-${CG_COMPONENT}.pc file)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/component.pc.in ${PROJECT_BINARY_DIR}/${file} @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
