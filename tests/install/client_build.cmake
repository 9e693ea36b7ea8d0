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
