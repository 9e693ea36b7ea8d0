# The order of virtual functions in the client API, which programs built against it depend on, must
# be the one that virtual_order.txt holds. -DWRITE=ON writes it anew: for new functions at the end.
separate_arguments(include_flags UNIX_COMMAND "${INCLUDE_FLAGS}")
execute_process(
    COMMAND ${COMPILER} -std=c++17 ${include_flags} -S -o /dev/null
            -Xclang -fdump-vtable-layouts ${CMAKE_CURRENT_LIST_DIR}/virtual_order.cpp
    OUTPUT_VARIABLE dump ERROR_VARIABLE errors COMMAND_ERROR_IS_FATAL ANY)
# A program sees the slots of Client<I>, which has nothing of its own but the destructor's address.
string(REGEX MATCHALL "Vtable for 'Vek::Sensors::Client'[^\n]*\n([^\n]+\n)+" tables "${dump}")
list(SORT tables)
set(order "")
foreach(table IN LISTS tables)
    string(REGEX MATCHALL "[0-9]+ \\| [^\n]*(\\(|\\[)[^\n]*" slots "${table}")
    list(JOIN slots "\n" slots)
    string(APPEND order "${slots}\n\n")
endforeach()
set(expected_file ${CMAKE_CURRENT_LIST_DIR}/virtual_order.txt)
if(WRITE)
    file(WRITE ${expected_file} "${order}")
endif()
file(READ ${expected_file} expected)
if(NOT order STREQUAL expected)
    message(FATAL_ERROR "the order of virtual functions has changed:\n${order}")
endif()
