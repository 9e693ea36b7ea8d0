# Installs the project and builds the examples against the installed package, as a user would.
#
# cmake -DBUILD_DIR=… -DSOURCE_DIR=… -DCOMPILER=… -DCXX_FLAGS=… -P client_build.cmake
set(prefix ${BUILD_DIR}/install-test/prefix)
set(client ${BUILD_DIR}/install-test/client)
file(REMOVE_RECURSE ${BUILD_DIR}/install-test)

function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples -B ${client}
    -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${CXX_FLAGS} -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${client})
# The installed programs find their libraries: without a service, each says so by its exit code.
foreach(program ${client}/imu_client ${client}/ambient_light_client "${prefix}/bin/sensorctl;list")
    execute_process(COMMAND ${CMAKE_COMMAND} -E env MORIAK_HIDL_RUNTIME_DIR=${client}/none ${program}
        RESULT_VARIABLE result ERROR_VARIABLE message OUTPUT_QUIET)
    if(NOT message MATCHES "service")
        message(FATAL_ERROR "${program} ended with ${result} and said '${message}'")
    endif()
endforeach()

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
