# Tables of what is in a HIDL package.

# moriak_hidl_tables(<target> PACKAGE <name@version> INCLUDE_DIR <dir> FILES <its headers in there>)
#
# Declares a library of headers that say what is in the package: `methods.h` and `fields.h` in the
# package's directory. They are made of the headers that hidl-gen wrote, serve the host's programs and
# the proofs of layout, and are not installed.
find_program(AWK awk REQUIRED)
function(moriak_hidl_tables target)
    cmake_parse_arguments(ARG "" "PACKAGE;INCLUDE_DIR" "FILES" ${ARGN})
    set(script ${PROJECT_SOURCE_DIR}/cmake/hal-tables.awk)
    set(methods_from ${ARG_FILES})
    list(FILTER methods_from INCLUDE REGEX "/I[^/]*[.]h$")
    list(FILTER methods_from EXCLUDE REGEX "/IHw[^/]*$")
    set(fields_from ${ARG_FILES})
    list(FILTER fields_from INCLUDE REGEX "/types[.]h$")

    file(RELATIVE_PATH types ${ARG_INCLUDE_DIR} ${fields_from})
    get_filename_component(directory ${CMAKE_BINARY_DIR}/hidl_tables/${types} DIRECTORY)
    file(MAKE_DIRECTORY ${directory})
    foreach(table methods fields)
        add_custom_command(
            OUTPUT ${directory}/${table}.h
            COMMAND ${AWK} -v package=${ARG_PACKAGE} -v table=${table} -f ${script}
                    ${${table}_from} > ${directory}/${table}.h
            DEPENDS ${script} ${${table}_from}
            COMMENT "Making the table of ${table} of ${ARG_PACKAGE}"
            VERBATIM)
    endforeach()
    add_custom_target(${target}_files DEPENDS ${directory}/methods.h ${directory}/fields.h)
    add_library(${target} INTERFACE)
    add_dependencies(${target} ${target}_files)
    target_include_directories(${target} SYSTEM INTERFACE
        ${CMAKE_BINARY_DIR}/hidl_tables ${PROJECT_SOURCE_DIR}/hal)
endfunction()
