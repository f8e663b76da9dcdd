# Libraries, headers and a package that find_package(QVRSystem) finds.
include(CMakePackageConfigHelpers)

install(TARGETS QVRBuild ZELKernel QVRSystem EXPORT QVRSystemTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QVRSystem)
foreach(library QVRBuild ZELKernel QVRSystem)
  install(DIRECTORY ${library}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QVRSystem
    FILES_MATCHING PATTERN "*.h" PATTERN "*.def")
endforeach()
install(EXPORT QVRSystemTargets NAMESPACE QVRSystem::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QVRSystem)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QVRSystemConfig.cmake.in
  ${PROJECT_BINARY_DIR}/QVRSystemConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QVRSystem)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QVRSystemConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QVRSystemConfig.cmake
  ${PROJECT_BINARY_DIR}/QVRSystemConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QVRSystem)
