# The device's C and C++ runtime, for the preset "device". The NDK's libc++ will not do: its names
# (std::__ndk1) are not those of the device's libraries (std::__1). DevicePlatform.cmake checks that
# all is there.
set(MORIAK_DEVICE_API 29 CACHE STRING "The device's API level: 29 is Android 10")
set(MORIAK_DEVICE_SYSROOT "" CACHE PATH "The device's C library: usr/include and usr/lib")
set(MORIAK_DEVICE_CXX_INCLUDE_DIR "" CACHE PATH "Headers of the device's libc++")
set(MORIAK_DEVICE_CXX_LIBRARIES "" CACHE STRING
    "The device's libc++.so, then static libraries of the compiler's run time: builtins and unwinder")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MORIAK_DEVICE_API MORIAK_DEVICE_SYSROOT
    MORIAK_DEVICE_CXX_INCLUDE_DIR MORIAK_DEVICE_CXX_LIBRARIES)

# To CMake, Android is a system that it finds in an NDK.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_SYSROOT ${MORIAK_DEVICE_SYSROOT})
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-android${MORIAK_DEVICE_API})
set(CMAKE_CXX_FLAGS_INIT -nostdinc++)
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${MORIAK_DEVICE_CXX_INCLUDE_DIR})
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-fuse-ld=lld-14 -nodefaultlibs")
list(JOIN MORIAK_DEVICE_CXX_LIBRARIES " " cxx_libraries)
set(CMAKE_CXX_STANDARD_LIBRARIES "${cxx_libraries} -lm -ldl -lc")
# There is no program to be linked: the library is all.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
