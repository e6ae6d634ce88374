# The installed package: library, headers, and what finds them, for CMake and for pkg-config.

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kvgpuruntime)
set(pkg_config_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

target_include_directories(kvgpuruntime PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS kvgpuruntime EXPORT kvgpuruntimeTargets)
install(FILES ${public_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/gpuruntime)
install(FILES ${kvgpuruntime_runtime_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvgpuruntime-host)

install(EXPORT kvgpuruntimeTargets NAMESPACE kvgpuruntime:: DESTINATION ${package_dir})
configure_package_config_file(cmake/kvgpuruntimeConfig.cmake.in kvgpuruntimeConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(kvgpuruntimeConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/kvgpuruntimeConfig.cmake
    ${PROJECT_BINARY_DIR}/kvgpuruntimeConfigVersion.cmake
    DESTINATION ${package_dir})

# The prefix is told from where the file stands, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc_dir /${pkg_config_dir} /)
configure_file(cmake/kvgpuruntime.pc.in kvgpuruntime.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kvgpuruntime.pc DESTINATION ${pkg_config_dir})
