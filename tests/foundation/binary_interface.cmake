# What programs are built against must be what binary_interface.txt holds: the functions that the
# library exports, and the order of the virtual functions of all interfaces in the client API.
# -DWRITE=ON writes it anew: for new functions at the end.
#
# cmake -DSOURCE_DIR=… -DLIBRARY=… -DCOMPILER=… -P binary_interface.cmake
execute_process(COMMAND nm -DC --defined-only ${LIBRARY}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
# All of the one class that clients construct themselves is exported; its order is below.
string(REGEX REPLACE "[^\n]* Vek::Sensors::HidlWrapper::ControllerProvider[^\n]*\n" "" symbols "${symbols}")
string(REGEX REPLACE "(^|\n)[0-9a-f]+ " "\\1" symbols "${symbols}")
string(REGEX MATCHALL "[^\n]+" symbols "${symbols}")
list(SORT symbols)
list(JOIN symbols "\n" interface)
string(APPEND interface "\n\n")

file(GLOB headers ${SOURCE_DIR}/include/vek/sensors/*.h)
set(interfaces "")
foreach(header IN LISTS headers)
    file(READ ${header} text)
    string(REGEX MATCHALL "\nclass I[A-Za-z]+ {" found "${text}")
    list(TRANSFORM found REPLACE "\nclass (.*) {" "X(\\1)")
    string(APPEND interfaces "${found}")
endforeach()
# Of templates, one that is in use stands for all.
string(REPLACE "X(IDataStream)" "X(IDataStream<ImuData>)" interfaces "${interfaces}")
string(REPLACE "X(ICameraStreamBase)" "X(ICameraStream)" interfaces "${interfaces}")
string(REPLACE ";" "" interfaces "${interfaces}")
execute_process(
    COMMAND ${COMPILER} -std=c++17 -I${SOURCE_DIR}/include "-DFOR_EACH_INTERFACE(X)=${interfaces}"
            -S -o /dev/null -Xclang -fdump-vtable-layouts
            -x c++ ${CMAKE_CURRENT_LIST_DIR}/binary_interface.inc
    OUTPUT_VARIABLE dump ERROR_VARIABLE errors COMMAND_ERROR_IS_FATAL ANY)
# A program sees the slots of Client<I>, which has nothing of its own but the destructor's address.
string(REGEX MATCHALL "Vtable for 'Vek::Sensors::Client'[^\n]*\n([^\n]+\n)+" tables "${dump}")
list(SORT tables)
foreach(table IN LISTS tables)
    string(REGEX MATCHALL "[0-9]+ \\| [^\n]*(\\(|\\[)[^\n]*" slots "${table}")
    list(JOIN slots "\n" slots)
    string(APPEND interface "${slots}\n\n")
endforeach()

set(expected_file ${CMAKE_CURRENT_LIST_DIR}/binary_interface.txt)
if(WRITE)
    file(WRITE ${expected_file} "${interface}")
endif()
file(READ ${expected_file} expected)
if(NOT interface STREQUAL expected)
    message(FATAL_ERROR "what programs are built against has changed:\n${interface}")
endif()
