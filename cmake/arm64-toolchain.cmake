# 64-bit Arm with Debian's own libraries: for the tests under user-mode emulation, which
# scripts/run-arm64 runs and for which it unpacks the packages that are named by MORIAK_ARM64_SYSROOT.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_EXE_LINKER_FLAGS_INIT -fuse-ld=lld-14)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -fuse-ld=lld-14)

set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MORIAK_ARM64_SYSROOT)
set(MORIAK_ARM64_SYSROOT "" CACHE PATH "Tree of Debian's arm64 packages")
if(NOT EXISTS ${MORIAK_ARM64_SYSROOT}/usr/include/aarch64-linux-gnu)
    message(FATAL_ERROR
        "MORIAK_ARM64_SYSROOT='${MORIAK_ARM64_SYSROOT}' is no tree of arm64 packages: "
        "scripts/run-arm64 makes it and configures with it.")
endif()
set(CMAKE_SYSROOT ${MORIAK_ARM64_SYSROOT})
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
# Programs, hidl-gen first of all, are this machine's; all else is the tree's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64;-L;${CMAKE_SYSROOT})
