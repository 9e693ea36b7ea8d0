# Builds against the device's own runtime in place of platform/ (MORIAK_HOST_PLATFORM=OFF). The
# inputs, all of which docs/device.md explains:
set(MORIAK_DEVICE_INCLUDE_DIRS "" CACHE STRING
    "Directories of the runtime's published headers, in the order in which they are searched")
set(MORIAK_DEVICE_LIBRARY_DIRS "" CACHE STRING "Directories of the device's libraries")
set(MORIAK_DEVICE_LIBRARIES
    "vendor.zelvan.hardware.sensors@1.0;hidlbase;fmq;utils;cutils;log"
    CACHE STRING "The device's libraries to link")
set(MORIAK_DEVICE_HAL_INCLUDE_DIR "" CACHE PATH
    "Headers that hidl-gen made of the HAL package and of android.hidl; if empty, they are made here")
find_path(MORIAK_DEVICE_GSL_INCLUDE_DIR gsl/span
    DOC "Directory of the headers of the Guidelines Support Library" NO_CMAKE_FIND_ROOT_PATH)

set(missing "")
macro(moriak_missing input what)
    string(APPEND missing "\n${input} does not have ${what}.")
endmacro()

# Those of the toolchain file, whose own errors CMake would follow with others.
if(DEFINED MORIAK_DEVICE_SYSROOT)
    foreach(header_of SYSROOT|usr/include/android/api-level.h CXX_INCLUDE_DIR|__config)
        string(REPLACE "|" ";" header_of ${header_of})
        list(GET header_of 0 input)
        list(GET header_of 1 header)
        if(NOT EXISTS ${MORIAK_DEVICE_${input}}/${header})
            moriak_missing(MORIAK_DEVICE_${input} "${header} in '${MORIAK_DEVICE_${input}}'")
        endif()
    endforeach()
    if(NOT MORIAK_DEVICE_CXX_LIBRARIES)
        moriak_missing(MORIAK_DEVICE_CXX_LIBRARIES "any library")
    endif()
    foreach(library IN LISTS MORIAK_DEVICE_CXX_LIBRARIES)
        if(NOT EXISTS ${library})
            moriak_missing(MORIAK_DEVICE_CXX_LIBRARIES "'${library}', which is not there")
        endif()
    endforeach()
endif()

set(hidl_headers vendor/zelvan/hardware/sensors/1.0/IImu.h
    vendor/zelvan/hardware/sensors/1.0/types.h android/hidl/base/1.0/IBase.h)
if(MORIAK_DEVICE_HAL_INCLUDE_DIR)
    foreach(header IN LISTS hidl_headers)
        if(NOT EXISTS ${MORIAK_DEVICE_HAL_INCLUDE_DIR}/${header})
            moriak_missing(MORIAK_DEVICE_HAL_INCLUDE_DIR
                "${header} in '${MORIAK_DEVICE_HAL_INCLUDE_DIR}'")
        endif()
    endforeach()
endif()
foreach(header hidl/HidlSupport.h hidl/HidlTransportSupport.h hwbinder/IPCThreadState.h fmq/EventFlag.h
        fmq/MessageQueue.h utils/RefBase.h cutils/ashmem.h cutils/native_handle.h log/log.h
        android-base/macros.h)
    find_file(found_header ${header} PATHS ${MORIAK_DEVICE_INCLUDE_DIRS}
        NO_CACHE NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    if(NOT found_header)
        moriak_missing(MORIAK_DEVICE_INCLUDE_DIRS "${header} in '${MORIAK_DEVICE_INCLUDE_DIRS}'")
    endif()
    unset(found_header)
endforeach()
set(device_libraries "")
foreach(library IN LISTS MORIAK_DEVICE_LIBRARIES)
    # HIDL packages' libraries have no "lib" in front.
    find_library(found_library NAMES ${library} ${library}.so PATHS ${MORIAK_DEVICE_LIBRARY_DIRS}
        NO_CACHE NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    if(NOT found_library)
        moriak_missing(MORIAK_DEVICE_LIBRARY_DIRS
            "the library '${library}' in '${MORIAK_DEVICE_LIBRARY_DIRS}'")
    endif()
    list(APPEND device_libraries ${found_library})
    unset(found_library)
endforeach()
if(NOT EXISTS ${MORIAK_DEVICE_GSL_INCLUDE_DIR}/gsl/span)
    moriak_missing(MORIAK_DEVICE_GSL_INCLUDE_DIR "gsl/span in '${MORIAK_DEVICE_GSL_INCLUDE_DIR}'")
endif()
if(missing)
    message(FATAL_ERROR "Inputs of the device's build are missing; docs/device.md lists them.${missing}")
endif()
# Alone in a directory: the one that it is in may hold another system's headers.
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/gsl)
file(CREATE_LINK ${MORIAK_DEVICE_GSL_INCLUDE_DIR}/gsl ${CMAKE_BINARY_DIR}/gsl/gsl SYMBOLIC)

add_library(moriak_platform INTERFACE)
add_library(moriak_hal ALIAS moriak_platform)
add_library(Moriak::hal ALIAS moriak_platform)
if(MORIAK_DEVICE_HAL_INCLUDE_DIR)
    set(hal_include_dir ${MORIAK_DEVICE_HAL_INCLUDE_DIR})
    file(GLOB sensors_headers CONFIGURE_DEPENDS
        ${hal_include_dir}/vendor/zelvan/hardware/sensors/1.0/*.h)
else()
    include(HidlPackage)
    set(hal_include_dir ${CMAKE_BINARY_DIR}/hidl)
    set(android_hidl ${PROJECT_SOURCE_DIR}/platform/interfaces/android/hidl)
    set(vendor_hidl ${PROJECT_SOURCE_DIR}/hal/vendor/zelvan/hardware)
    moriak_hidl_headers(base_headers PACKAGE android.hidl.base@1.0 DIRECTORY ${android_hidl}/base/1.0
        ROOTS android.hidl:${android_hidl})
    moriak_hidl_headers(manager_headers PACKAGE android.hidl.manager@1.0
        DIRECTORY ${android_hidl}/manager/1.0
        ROOTS android.hidl:${android_hidl} IMPORTS ${android_hidl}/base/1.0)
    moriak_hidl_headers(sensors_headers PACKAGE vendor.zelvan.hardware.sensors@1.0
        DIRECTORY ${vendor_hidl}/sensors/1.0
        ROOTS vendor.zelvan.hardware:${vendor_hidl} android.hidl:${android_hidl}
        IMPORTS ${android_hidl}/base/1.0)
    add_custom_target(device_hidl_headers
        DEPENDS ${base_headers} ${manager_headers} ${sensors_headers})
    add_dependencies(moriak_platform device_hidl_headers)
endif()
include(HidlTables)
moriak_hidl_tables(moriak_hal_tables
    PACKAGE vendor.zelvan.hardware.sensors@1.0
    INCLUDE_DIR ${hal_include_dir} FILES ${sensors_headers})
target_include_directories(moriak_platform SYSTEM INTERFACE
    $<BUILD_INTERFACE:${hal_include_dir}>
    "$<BUILD_INTERFACE:${MORIAK_DEVICE_INCLUDE_DIRS}>"
    $<BUILD_INTERFACE:${CMAKE_BINARY_DIR}/gsl>)
target_link_libraries(moriak_platform INTERFACE "$<BUILD_INTERFACE:${device_libraries}>")
