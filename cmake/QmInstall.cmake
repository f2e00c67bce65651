# The install target: library, public headers, program, CMake package, pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS QMDataObjects2 EXPORT QMDataObjectsTargets)
install(DIRECTORY include/qm DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(QM_BUILD_TOOL)
  install(TARGETS qm_tool)
endif()
install(FILES LICENSE README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QMDataObjects)
install(EXPORT QMDataObjectsTargets NAMESPACE QMDataObjects:: DESTINATION ${package_dir})
configure_package_config_file(cmake/QMDataObjectsConfig.cmake.in
  ${PROJECT_BINARY_DIR}/QMDataObjectsConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QMDataObjectsConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QMDataObjectsConfig.cmake
  ${PROJECT_BINARY_DIR}/QMDataObjectsConfigVersion.cmake DESTINATION ${package_dir})

file(RELATIVE_PATH QM_PC_TO_INCLUDE /${CMAKE_INSTALL_LIBDIR}/pkgconfig /${CMAKE_INSTALL_INCLUDEDIR})
configure_file(cmake/QMDataObjects.pc.in ${PROJECT_BINARY_DIR}/QMDataObjects.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/QMDataObjects.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
