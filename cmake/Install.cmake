# SPDX-License-Identifier: MIT
include(CMakePackageConfigHelpers)

set(libraries VelNetworkManager)
set(pkgconfig_files velnetworkmanager)
if(VELNM_BUILD_HOST)
    list(APPEND libraries VelNetworkHost VelNetworkSimulation)
    list(APPEND pkgconfig_files velnetworkhost)
endif()
install(TARGETS ${libraries} EXPORT VelNetworkManagerTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(VELNM_BUILD_VELNETCTL)
    install(TARGETS velnetctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
list(TRANSFORM velnh_public_headers PREPEND networkhost/)
foreach(header ${velnm_public_headers} ${velnh_public_headers})
    get_filename_component(room ${header} DIRECTORY)
    install(FILES src/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velnetworkmanager/${room})
endforeach()
if(VELNM_BUILD_HOST)
    install(DIRECTORY src/networksimulation DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velnetworkmanager
        FILES_MATCHING PATTERN "*.h")
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VelNetworkManager)
configure_package_config_file(cmake/VelNetworkManagerConfig.cmake.in
    ${PROJECT_BINARY_DIR}/VelNetworkManagerConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VelNetworkManagerConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VelNetworkManagerConfig.cmake
    ${PROJECT_BINARY_DIR}/VelNetworkManagerConfigVersion.cmake DESTINATION ${package_dir})
install(EXPORT VelNetworkManagerTargets NAMESPACE VelNetworkManager:: DESTINATION ${package_dir})

# Relative, so that the tree may be moved and installed under another prefix than the configured one.
file(RELATIVE_PATH pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(name ${pkgconfig_files})
    configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
