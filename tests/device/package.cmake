# The files for the device's own build are in step with the HAL package and with each other.
#
# cmake -DSOURCE_DIR=… -DWORK_DIR=… -DHIDL_GEN=… -P package.cmake
set(hal_root ${SOURCE_DIR}/hal/vendor/zelvan/hardware)
set(package vendor.zelvan.hardware.sensors@1.0)
set(roots -r vendor.zelvan.hardware:hal/vendor/zelvan/hardware
    -r android.hidl:platform/interfaces/android/hidl)

function(hidl_gen language out_var)
    execute_process(COMMAND ${HIDL_GEN} -L ${language} ${ARGN} ${roots} ${package}
        WORKING_DIRECTORY ${SOURCE_DIR} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
    set(${out_var} "${output}" PARENT_SCOPE)
endfunction()

# Fails by itself if a frozen interface has changed.
hidl_gen(check nothing)
hidl_gen(hash hashes)
file(READ ${hal_root}/current.txt frozen)
string(REGEX REPLACE "#[^\n]*\n" "" frozen "${frozen}")
if(NOT frozen STREQUAL hashes)
    message(FATAL_ERROR "current.txt has not the hashes of the package:\n${hashes}")
endif()
hidl_gen(androidbp nothing -o ${WORK_DIR})
set(module hal/vendor/zelvan/hardware/sensors/1.0/Android.bp)
execute_process(COMMAND diff -u ${WORK_DIR}/${module} ${SOURCE_DIR}/${module}
    COMMAND_ERROR_IS_FATAL ANY)

# The services that the library looks up are those of the manifest, the compatibility matrix and the
# labels.
file(GLOB_RECURSE sources ${SOURCE_DIR}/src/*.cpp)
set(looked_up "")
foreach(source IN LISTS sources)
    file(READ ${source} text)
    string(REGEX MATCHALL "(I[A-Za-z]+::(getService|tryGetService)|createForDefaultService<[^>]*>)"
        calls "${text}")
    foreach(call IN LISTS calls)
        string(REGEX REPLACE "::(getService|tryGetService)$|>$" "" call "${call}")
        string(REGEX REPLACE ".*[^A-Za-z]" "" call "${call}")
        list(APPEND looked_up ${call})
    endforeach()
endforeach()
list(REMOVE_DUPLICATES looked_up)
list(SORT looked_up)
foreach(file_and_pattern "vintf/manifest.xml|<name>(I[A-Za-z]+)<"
        "vintf/compatibility_matrix.xml|<name>(I[A-Za-z]+)<" "sepolicy/hwservice_contexts|::(I[A-Za-z]+) ")
    string(REPLACE "|" ";" file_and_pattern "${file_and_pattern}")
    list(GET file_and_pattern 0 name)
    list(GET file_and_pattern 1 pattern)
    file(READ ${SOURCE_DIR}/device/${name} text)
    string(REGEX MATCHALL "${pattern}" named "${text}")
    list(TRANSFORM named REPLACE ".*[^A-Za-z](I[A-Za-z]+).$" "\\1")
    list(SORT named)
    if(NOT named STREQUAL looked_up)
        message(FATAL_ERROR "device/${name} has '${named}'; the library looks up '${looked_up}'")
    endif()
endforeach()
