# Compiles HIDL packages (.hal files) into C++ with hidl-gen.

find_program(HIDL_GEN hidl-gen REQUIRED)

# moriak_hidl_package(<out-var>
#                     PACKAGE <name@version> DIRECTORY <dir of its .hal files>
#                     ROOTS <package-root:path>... [IMPORTS <dir>...])
#
# Declares the generation of the package into ${CMAKE_BINARY_DIR}/hidl and puts the
# C++ sources and headers in <out-var>, to be added to exactly one target. IMPORTS
# names the directories of imported packages, whose changes cause a new generation.
function(moriak_hidl_package out_var)
    cmake_parse_arguments(ARG "" "PACKAGE;DIRECTORY" "ROOTS;IMPORTS" ${ARGN})
    set(out_root ${CMAKE_BINARY_DIR}/hidl)
    string(REGEX REPLACE "[.@]" "/" package_path "${ARG_PACKAGE}")
    # The version keeps its point: android.hidl.base@1.0 lies in android/hidl/base/1.0.
    string(REGEX REPLACE "/([0-9]+)/([0-9]+)$" "/\\1.\\2" package_path "${package_path}")

    file(GLOB hal_files CONFIGURE_DEPENDS ${ARG_DIRECTORY}/*.hal)
    set(depends ${hal_files})
    foreach(import IN LISTS ARG_IMPORTS)
        file(GLOB imported CONFIGURE_DEPENDS ${import}/*.hal)
        list(APPEND depends ${imported})
    endforeach()

    set(headers)
    set(sources)
    foreach(hal_file IN LISTS hal_files)
        get_filename_component(name ${hal_file} NAME_WE)
        if(name STREQUAL "types")
            list(APPEND headers types.h hwtypes.h)
            list(APPEND sources types.cpp)
        else()
            string(SUBSTRING ${name} 1 -1 base)
            list(APPEND headers I${base}.h IHw${base}.h BpHw${base}.h BnHw${base}.h Bs${base}.h)
            list(APPEND sources ${base}All.cpp)
        endif()
    endforeach()
    list(TRANSFORM headers PREPEND ${out_root}/${package_path}/)
    list(TRANSFORM sources PREPEND ${out_root}/${package_path}/)

    set(root_arguments)
    foreach(root IN LISTS ARG_ROOTS)
        list(APPEND root_arguments -r ${root})
    endforeach()
    foreach(language headers sources)
        add_custom_command(
            OUTPUT ${${language}}
            COMMAND ${HIDL_GEN} -o ${out_root} -L c++-${language} ${root_arguments} ${ARG_PACKAGE}
            DEPENDS ${depends}
            COMMENT "Generating ${language} of ${ARG_PACKAGE}"
            VERBATIM)
    endforeach()
    # Generated code is not held to our warnings.
    set_source_files_properties(${sources} PROPERTIES COMPILE_OPTIONS "-w")
    set(${out_var} ${headers} ${sources} PARENT_SCOPE)
endfunction()

# moriak_hidl_tables(<target> PACKAGE <name@version> FILES <what moriak_hidl_package gave>)
#
# Declares a library of headers that say what is in the package: `methods.h` and `fields.h` in the
# package's directory. They are for the host's programs and proofs, and not installed.
find_program(AWK awk REQUIRED)
function(moriak_hidl_tables target)
    cmake_parse_arguments(ARG "" "PACKAGE" "FILES" ${ARGN})
    set(script ${PROJECT_SOURCE_DIR}/cmake/hal-tables.awk)
    set(methods_from ${ARG_FILES})
    list(FILTER methods_from INCLUDE REGEX "/I[^/]*[.]h$")
    list(FILTER methods_from EXCLUDE REGEX "/IHw[^/]*$")
    set(fields_from ${ARG_FILES})
    list(FILTER fields_from INCLUDE REGEX "/types[.]h$")

    list(GET fields_from 0 types)
    get_filename_component(directory ${types} DIRECTORY)
    string(REPLACE ${CMAKE_BINARY_DIR}/hidl ${CMAKE_BINARY_DIR}/hidl_tables directory ${directory})
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
