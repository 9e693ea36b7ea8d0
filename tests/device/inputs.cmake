# The preset "device" configures with all of its inputs, and names the one that is missing in a single
# error.
#
# cmake -DSOURCE_DIR=… -DWORK_DIR=… -P inputs.cmake
file(REMOVE_RECURSE ${WORK_DIR})
set(headers hidl/HidlSupport.h hidl/HidlTransportSupport.h hwbinder/IPCThreadState.h fmq/EventFlag.h
    fmq/MessageQueue.h utils/RefBase.h cutils/ashmem.h cutils/native_handle.h log/log.h
    android-base/macros.h)
set(libraries vendor.zelvan.hardware.sensors@1.0 libhidlbase libfmq libutils libcutils liblog)
# The input, and what it must have.
set(inputs
    SYSROOT|usr/include/android/api-level.h
    CXX_INCLUDE_DIR|__config
    CXX_LIBRARIES|libc++.so
    GSL_INCLUDE_DIR|gsl/span
    HAL_INCLUDE_DIR|vendor/zelvan/hardware/sensors/1.0/IImu.h
    HAL_INCLUDE_DIR|vendor/zelvan/hardware/sensors/1.0/types.h
    HAL_INCLUDE_DIR|android/hidl/base/1.0/IBase.h)
foreach(header IN LISTS headers)
    list(APPEND inputs INCLUDE_DIRS|${header})
endforeach()
foreach(library IN LISTS libraries)
    list(APPEND inputs LIBRARY_DIRS|${library}.so)
endforeach()

set(arguments "")
foreach(input IN LISTS inputs)
    string(REGEX MATCH "^[^|]*" name ${input})
    string(REGEX REPLACE "^[^|]*[|]" "${WORK_DIR}/${name}/" file ${input})
    file(WRITE ${file} "")
    set(value ${WORK_DIR}/${name})
    if(name STREQUAL "CXX_LIBRARIES")
        set(value ${file})
    endif()
    list(APPEND arguments -DMORIAK_DEVICE_${name}=${value})
endforeach()
list(REMOVE_DUPLICATES arguments)

function(configure)
    execute_process(COMMAND ${CMAKE_COMMAND} --preset device -B ${WORK_DIR}/build ${arguments}
        WORKING_DIRECTORY ${SOURCE_DIR} RESULT_VARIABLE result ERROR_VARIABLE message OUTPUT_QUIET)
    set(result ${result} PARENT_SCOPE)
    set(message "${message}" PARENT_SCOPE)
endfunction()

configure()
if(NOT result EQUAL 0)
    message(FATAL_ERROR "With all inputs: ${message}")
endif()
foreach(input IN LISTS inputs)
    string(REGEX MATCH "^[^|]*" name ${input})
    string(REGEX REPLACE "^[^|]*[|]" "" file ${input})
    file(RENAME ${WORK_DIR}/${name}/${file} ${WORK_DIR}/away)
    configure()
    file(RENAME ${WORK_DIR}/away ${WORK_DIR}/${name}/${file})
    string(REGEX MATCHALL "CMake Error|MORIAK_DEVICE_[A-Z_]+" errors "${message}")
    list(REMOVE_ITEM errors MORIAK_DEVICE_${name})
    string(REGEX REPLACE "^lib|[.]so$" "" file ${file})
    string(FIND "${message}" "${file}" named)
    if(result EQUAL 0 OR NOT errors STREQUAL "CMake Error" OR named EQUAL -1)
        message(FATAL_ERROR "Without ${input}: ${message}")
    endif()
endforeach()
