# Install rules and the CMake package moriak-hidlwrapper for client programs.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/moriak-hidlwrapper)

install(DIRECTORY include/vek TYPE INCLUDE)
install(TARGETS moriak_hidlwrapper moriak_api EXPORT moriak-hidlwrapper)
if(MORIAK_TOOLS)
    install(TARGETS sensorctl)
endif()
if(MORIAK_HOST_PLATFORM)
    # Clients link the library alone, which finds these beside itself. A client that passes objects
    # of the HAL links Moriak::hal, too; it has the headers of the HAL and of the host layer.
    install(TARGETS moriak_platform moriak_hal EXPORT moriak-hidlwrapper)
    install(DIRECTORY ${CMAKE_BINARY_DIR}/hidl/ platform/include/
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/moriak-host
        FILES_MATCHING PATTERN "*.h" PATTERN "moriak" EXCLUDE)
    install(TARGETS moriak-sensor-simulator)
endif()
install(EXPORT moriak-hidlwrapper
    NAMESPACE Moriak::
    FILE moriak-hidlwrapper-targets.cmake
    DESTINATION ${package_dir})
configure_package_config_file(cmake/moriak-hidlwrapper-config.cmake.in
    moriak-hidlwrapper-config.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(moriak-hidlwrapper-config-version.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_BINARY_DIR}/moriak-hidlwrapper-config.cmake
    ${CMAKE_BINARY_DIR}/moriak-hidlwrapper-config-version.cmake
    DESTINATION ${package_dir})

# As deep as pkg-config's prefix has it: relative to where the file is found.
configure_file(cmake/moriak-hidlwrapper.pc.in moriak-hidlwrapper.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/moriak-hidlwrapper.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# What the device's integrator needs.
install(DIRECTORY hal/vendor DESTINATION ${CMAKE_INSTALL_DATADIR}/moriak-hidlwrapper/hal)
install(DIRECTORY device DESTINATION ${CMAKE_INSTALL_DATADIR}/moriak-hidlwrapper)
