# Compiles HIDL packages (.hal files) into C++ with hidl-gen.

find_program(HIDL_GEN hidl-gen REQUIRED)

# moriak_hidl_package(<out-var>
#                     PACKAGE <name@version> DIRECTORY <dir of its .hal files>
#                     ROOTS <package-root:path>... [IMPORTS <dir>...])
#
# Declares the generation of the package into ${CMAKE_BINARY_DIR}/hidl and puts the
# C++ sources and headers in <out-var>, to be added to exactly one target. IMPORTS
# names the directories of imported packages, whose changes cause a new generation.
#
# moriak_hidl_headers(<out-var> ...) does so for the headers alone.
function(moriak_hidl_package out_var)
    moriak_hidl_generate(headers headers ${ARGN})
    moriak_hidl_generate(sources sources ${ARGN})
    # Generated code is not held to our warnings.
    set_source_files_properties(${sources} PROPERTIES COMPILE_OPTIONS "-w")
    set(${out_var} ${headers} ${sources} PARENT_SCOPE)
endfunction()

function(moriak_hidl_headers out_var)
    moriak_hidl_generate(headers headers ${ARGN})
    set(${out_var} ${headers} PARENT_SCOPE)
endfunction()

function(moriak_hidl_generate language out_var)
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
    set(outputs ${${language}})
    list(TRANSFORM outputs PREPEND ${out_root}/${package_path}/)

    set(root_arguments)
    foreach(root IN LISTS ARG_ROOTS)
        list(APPEND root_arguments -r ${root})
    endforeach()
    # The values of each enumeration would be defined again by every object, for clang 14 gives
    # external linkage to what hidl-gen 10 means to be internal. Later ones write "inline".
    set(inline "s/^template<> constexpr /template<> inline constexpr /")
    # IBase is the device's but for its comments, so it answers with the hash that is published.
    set(own_hash "{108,76,50,10,67,[0-9,]*} /[*] 6c4c320a43[0-9a-f]*")
    string(CONCAT published_hash "{236,127,215,158,208,45,250,133,188,73,148,38,173,174,62,190,35,239,"
        "5,36,243,205,105,87,19,147,36,184,59,24,202,76} /* "
        "ec7fd79ed02dfa85bc499426adae3ebe23ef0524f3cd6957139324b83b18ca4c")
    add_custom_command(
        OUTPUT ${outputs}
        COMMAND ${HIDL_GEN} -o ${out_root} -L c++-${language} ${root_arguments} ${ARG_PACKAGE}
        COMMAND sed -i -e ${inline} -e "s|${own_hash}|${published_hash}|" ${outputs}
        DEPENDS ${depends}
        COMMENT "Generating ${language} of ${ARG_PACKAGE}"
        VERBATIM)
    set(${out_var} ${outputs} PARENT_SCOPE)
endfunction()
