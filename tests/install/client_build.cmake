# Installs the project and uses what was installed as its users would: builds the examples, and the
# README's snippets as they stand there, builds with pkg-config, and builds the library again as for
# a device, whose runtime is the host layer here, with those published headers that Debian has.
#
# cmake -DBUILD_DIR=… -DSOURCE_DIR=… -DCOMPILER=… -DCXX_FLAGS=… -DLAUNCHER=… -DDEVICE=… -DPYTHON=… -DPUBLISHED_HEADERS=… -P client_build.cmake
set(work ${BUILD_DIR}/install-test)
set(prefix ${work}/prefix)
file(REMOVE_RECURSE ${work})
set(compiler -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}
    -DCMAKE_CXX_FLAGS=${CXX_FLAGS})

function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endfunction()

# A program that finds its libraries says, without a service, that there is none.
function(expect_no_service)
    execute_process(COMMAND ${CMAKE_COMMAND} -E env MORIAK_HIDL_RUNTIME_DIR=${work}/none ${ARGV}
        RESULT_VARIABLE result ERROR_VARIABLE message OUTPUT_QUIET)
    if(NOT message MATCHES "service")
        message(FATAL_ERROR "${ARGV} ended with ${result} and said '${message}'")
    endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples -B ${work}/examples ${compiler}
    -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${work}/examples)
foreach(client imu_client ambient_light_client camera_client controller_client)
    expect_no_service(${work}/examples/${client})
endforeach()
expect_no_service(${prefix}/bin/sensorctl list)
if(PYTHON)
    file(GLOB_RECURSE stubs ${prefix}/moriak_sensors.pyi)
    cmake_path(GET stubs PARENT_PATH python_directory)
    expect_no_service(PYTHONPATH=${python_directory} ${PYTHON} ${SOURCE_DIR}/examples/plot_imu.py)
endif()

# The first block of its language in the README.
function(snippet language out_var)
    file(READ ${SOURCE_DIR}/README.md readme)
    string(FIND "${readme}" "```${language}\n" begin)
    string(SUBSTRING "${readme}" ${begin} -1 readme)
    string(REGEX REPLACE "^```${language}\n" "" readme "${readme}")
    string(FIND "${readme}" "```" end)
    string(SUBSTRING "${readme}" 0 ${end} readme)
    set(${out_var} "${readme}" PARENT_SCOPE)
endfunction()

snippet(cpp program)
snippet(cmake build)
file(WRITE ${work}/readme/my_program.cpp "${program}")
file(WRITE ${work}/readme/CMakeLists.txt "${build}")
run(${CMAKE_COMMAND} -S ${work}/readme -B ${work}/readme/build ${compiler} -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${work}/readme/build)
expect_no_service(${work}/readme/build/my_program)

file(GLOB_RECURSE package_file ${prefix}/*.pc)
cmake_path(GET package_file PARENT_PATH package_directory)
execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${package_directory}
    pkg-config --cflags --libs moriak-hidlwrapper
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags)
separate_arguments(CXX_FLAGS)
run(${COMPILER} ${CXX_FLAGS} ${work}/readme/my_program.cpp ${flags} -Wl,-rpath,${prefix}/lib
    -o ${work}/by_pkg_config)
expect_no_service(${work}/by_pkg_config)

# What is installed for the command line is in step with the help: every option of every command has
# its place in the command's man page and in the completion.
if(EXISTS ${prefix}/share/man)
    file(READ ${prefix}/share/bash-completion/completions/sensorctl completion)
    set(commands "list;monitor;echo;record;controllers buzz;time translate;leds;completion")
    foreach(command IN LISTS commands)
        string(REPLACE " " ";" words "${command}")
        string(REPLACE " " "-" title "${command}")
        execute_process(COMMAND ${prefix}/bin/sensorctl ${words} --help OUTPUT_VARIABLE help
            COMMAND_ERROR_IS_FATAL ANY)
        file(READ ${prefix}/share/man/man1/sensorctl-${title}.1 page)
        string(REPLACE "\\-" "-" page "${page}")
        string(REGEX MATCHALL "\n  (-h,)?--[a-z-]+" options "${help}")
        string(REGEX MATCH "\"${command}\"\\) echo \"[^\"]*\"" completed "${completion}")
        foreach(option IN LISTS options)
            string(REGEX REPLACE ".*(--[a-z-]+)" "\\1" option "${option}")
            if(NOT page MATCHES "${option}" OR NOT completed MATCHES "${option}")
                message(FATAL_ERROR "sensorctl ${command}: ${option} is not in its man page or in the completion")
            endif()
        endforeach()
        list(LENGTH options count)
        if(count EQUAL 0)
            message(FATAL_ERROR "sensorctl ${command} has no options in its help")
        endif()
    endforeach()
    execute_process(
        COMMAND bash -c "source $1; COMP_WORDS=(sensorctl controllers b); COMP_CWORD=2; _sensorctl; echo \${COMPREPLY[*]}"
                bash ${prefix}/share/bash-completion/completions/sensorctl
        OUTPUT_VARIABLE completed OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT completed STREQUAL "buzz")
        message(FATAL_ERROR "bash completes 'sensorctl controllers b' to '${completed}'")
    endif()
    if(NOT EXISTS ${prefix}/share/man/man1/moriak-sensor-simulator.1)
        message(FATAL_ERROR "the simulator's man page is not installed")
    endif()
endif()

if(NOT DEVICE)
    return()
endif()
set(device ${work}/device)
set(headers ${PUBLISHED_HEADERS} ${prefix}/include/moriak-host)
list(JOIN headers "\\;" headers)
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} --preset device-host -B ${device} ${compiler}
    -DCMAKE_BUILD_TYPE=None
    "-DMORIAK_DEVICE_INCLUDE_DIRS=${headers}"
    -DMORIAK_DEVICE_LIBRARY_DIRS=${prefix}/lib
    "-DMORIAK_DEVICE_LIBRARIES=vendor.zelvan.hardware.sensors@1.0\;moriak-hostplatform")
run(${CMAKE_COMMAND} --build ${device})
foreach(library ${device}/src ${prefix}/lib)
    execute_process(COMMAND nm -D --defined-only --format=just-symbols
        ${library}/libmoriak-hidlwrapper.so
        OUTPUT_VARIABLE exports COMMAND_ERROR_IS_FATAL ANY)
    if(DEFINED first_exports AND NOT exports STREQUAL first_exports)
        message(FATAL_ERROR "The device's library exports\n${first_exports}\nthis one\n${exports}")
    endif()
    set(first_exports "${exports}")
endforeach()
