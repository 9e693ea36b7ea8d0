# Builds against the device's own runtime in place of platform/ (MORIAK_HOST_PLATFORM=OFF).
#
# MORIAK_DEVICE_INCLUDE_DIRS  header directories of the runtime (libhidlbase, libfmq, libutils,
#                             libcutils, liblog) and of the vendor's generated HAL package
# MORIAK_DEVICE_LIBRARIES     libraries to link; by default those of the names below
set(MORIAK_DEVICE_INCLUDE_DIRS "" CACHE STRING "Header directories of the device's runtime")
set(MORIAK_DEVICE_LIBRARIES
    "hidlbase;fmq;utils;cutils;log;vendor.zelvan.hardware.sensors@1.0"
    CACHE STRING "Libraries of the device's runtime")
if(NOT MORIAK_DEVICE_INCLUDE_DIRS)
    message(FATAL_ERROR
        "MORIAK_HOST_PLATFORM is OFF, so MORIAK_DEVICE_INCLUDE_DIRS must name the header "
        "directories of the device's runtime.")
endif()

add_library(moriak_platform INTERFACE)
target_include_directories(moriak_platform SYSTEM INTERFACE ${MORIAK_DEVICE_INCLUDE_DIRS})
target_link_libraries(moriak_platform INTERFACE ${MORIAK_DEVICE_LIBRARIES})
add_library(moriak_hal ALIAS moriak_platform)
add_library(Moriak::hal ALIAS moriak_platform)
