# Installs the two libraries, their headers, a CMake package and a pkg-config file.
set(CG_INCLUDE ${CMAKE_INSTALL_INCLUDEDIR}/coregeometry)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/CoreGeometry DESTINATION ${CG_INCLUDE} FILES_MATCHING PATTERN "*.h")
foreach(library core_utils basic_utils cae_utils rom rfm_interface diagnostic_extractor)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/${library}/include/ DESTINATION ${CG_INCLUDE}
    FILES_MATCHING PATTERN "*.h" PATTERN "*.inl")
endforeach()

set(CG_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/CoreGeometry)
install(EXPORT CoreGeometryTargets NAMESPACE CoreGeometry:: DESTINATION ${CG_PACKAGE})
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
