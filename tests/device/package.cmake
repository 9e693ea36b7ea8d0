# The files for the device's own build are in step with the HAL package and with each other.
# -DWRITE=ON writes them anew.
#
# cmake -DSOURCE_DIR=… -DWORK_DIR=… -DHIDL_GEN=… -P package.cmake
set(package vendor.zelvan.hardware.sensors@1.0)
set(roots -r vendor.zelvan.hardware:hal/vendor/zelvan/hardware
    -r android.hidl:platform/interfaces/android/hidl)

function(hidl_gen language out_var)
    execute_process(COMMAND ${HIDL_GEN} -L ${language} ${ARGN} ${roots} ${package}
        WORKING_DIRECTORY ${SOURCE_DIR} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
    set(${out_var} "${output}" PARENT_SCOPE)
endfunction()

function(expect file expected)
    if(WRITE)
        file(WRITE ${SOURCE_DIR}/${file} "${expected}")
    endif()
    file(READ ${SOURCE_DIR}/${file} text)
    if(NOT text STREQUAL expected)
        message(FATAL_ERROR "${file} is to be:\n${expected}")
    endif()
endfunction()

set(hashes_file hal/vendor/zelvan/hardware/current.txt)
hidl_gen(hash hashes)
file(READ ${SOURCE_DIR}/${hashes_file} frozen)
string(REGEX MATCH "(#[^\n]*\n)*" comment "${frozen}")
expect(${hashes_file} "${comment}${hashes}")
# Fails by itself if a frozen interface has changed.
hidl_gen(check nothing)

hidl_gen(androidbp nothing -o ${WORK_DIR})
set(module hal/vendor/zelvan/hardware/sensors/1.0/Android.bp)
file(READ ${WORK_DIR}/${module} text)
expect(${module} "${text}")

# The services that the library looks up are those of the manifest, the compatibility matrix and the
# labels.
file(GLOB_RECURSE sources ${SOURCE_DIR}/src/*.cpp)
set(services "")
foreach(source IN LISTS sources)
    file(READ ${source} text)
    string(REGEX MATCHALL "(I[A-Za-z]+::(getService|tryGetService)|createForDefaultService<[^>]*>)"
        calls "${text}")
    foreach(call IN LISTS calls)
        string(REGEX REPLACE "::(getService|tryGetService)$|>$" "" call "${call}")
        string(REGEX REPLACE ".*[^A-Za-z]" "" call "${call}")
        list(APPEND services ${call})
    endforeach()
endforeach()
list(REMOVE_DUPLICATES services)
list(SORT services)

set(interfaces "")
set(labels "")
set(longest 0)
foreach(service IN LISTS services)
    string(LENGTH ${service} length)
    if(length GREATER longest)
        set(longest ${length})
    endif()
endforeach()
foreach(service IN LISTS services)
    string(APPEND interfaces "        <interface>\n            <name>${service}</name>\n"
        "            <instance>default</instance>\n        </interface>\n")
    string(LENGTH ${service} length)
    math(EXPR padding "${longest} - ${length} + 1")
    string(REPEAT " " ${padding} padding)
    string(APPEND labels "vendor.zelvan.hardware.sensors::${service}${padding}"
        "u:object_r:hal_zelvan_sensors_hwservice:s0\n")
endforeach()
foreach(file vintf/manifest.xml vintf/compatibility_matrix.xml)
    file(READ ${SOURCE_DIR}/device/${file} text)
    string(REGEX REPLACE "        <interface>.*</interface>\n" "${interfaces}" text "${text}")
    expect(device/${file} "${text}")
endforeach()
file(READ ${SOURCE_DIR}/device/sepolicy/hwservice_contexts text)
string(REGEX REPLACE "\nvendor[.].*" "\n${labels}" text "${text}")
expect(device/sepolicy/hwservice_contexts "${text}")
