# Language level, warnings and sanitizers for all of our own targets.

if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # The signature texts in log lines are the compiler's; only clang's are the right ones.
    message(FATAL_ERROR
        "${CMAKE_CXX_COMPILER_ID} found: this project is built with clang. "
        "Configure with a preset, or with -DCMAKE_CXX_COMPILER=clang++-14.")
endif()

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
# Debian 12's valgrind does not read clang's DWARF 5.
add_compile_options($<$<CONFIG:Debug,RelWithDebInfo>:-gdwarf-4>)

set(MORIAK_SANITIZE "" CACHE STRING "Sanitizers to build with: empty, address,undefined or thread")
if(MORIAK_SANITIZE)
    add_compile_options(-fsanitize=${MORIAK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${MORIAK_SANITIZE})
endif()
option(MORIAK_FUZZERS "Let libFuzzer drive the targets of fuzz; tests, soak and benchmarks are not built" OFF)
if(MORIAK_FUZZERS)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

add_library(moriak_warnings INTERFACE)
target_compile_options(moriak_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    -Wimplicit-fallthrough -Wthread-safety -Werror)
