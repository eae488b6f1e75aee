# The package: find_package(lxcodec2_utils) and pkg-config. A component outside this tree builds
# against it as it would against the device's libraries.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/lxcodec2_utils)
set(LX2_PLATFORM_INCLUDES "")
set(LX2_PLATFORM_LIBS "-llog -lcutils -lcodec2 -lcodec2_vndk")

install(TARGETS lx2_base lx2_platform lx2_utils EXPORT lxcodec2_utils)
install(DIRECTORY include/lx2 DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
if(LX2_HOST_PLATFORM)
  install(TARGETS lx2_host lx2_testkit EXPORT lxcodec2_utils)
  file(GLOB standins CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/host/*/include)
  foreach(standin IN LISTS standins)
    install(DIRECTORY ${standin}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/lx2host-platform)
  endforeach()
  # What components have in common, as sources.
  install(DIRECTORY examples/component DESTINATION share/lx2)
  install(FILES cmake/FindAndroidLibraries.cmake DESTINATION ${package_dir})
  set(LX2_FIND_PLATFORM [[
list(PREPEND CMAKE_MODULE_PATH "${CMAKE_CURRENT_LIST_DIR}")
find_dependency(AndroidLibraries)
list(POP_FRONT CMAKE_MODULE_PATH)]])
  set(LX2_PLATFORM_INCLUDES
    "-I\${includedir}/lx2host-platform -isystem ${AndroidLibraries_INCLUDE_DIR}")
  set(android_dir ${AndroidLibraries_LIBRARY_DIR})
  set(LX2_PLATFORM_LIBS
    "-llx2host -L${android_dir} -Wl,-rpath,${android_dir} -lutils -lcutils -llog")
endif()

install(EXPORT lxcodec2_utils NAMESPACE lx2:: DESTINATION ${package_dir}
  FILE lxcodec2_utils-targets.cmake)
configure_package_config_file(cmake/lxcodec2_utils-config.cmake.in
  ${CMAKE_BINARY_DIR}/package/lxcodec2_utils-config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/lxcodec2_utils-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/package/lxcodec2_utils-config.cmake
  ${CMAKE_BINARY_DIR}/package/lxcodec2_utils-config-version.cmake DESTINATION ${package_dir})

file(RELATIVE_PATH LX2_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/lxcodec2_utils.pc.in ${CMAKE_BINARY_DIR}/package/lxcodec2_utils.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/package/lxcodec2_utils.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
