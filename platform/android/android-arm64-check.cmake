# Builds libskylevel.so for Android on arm64 without an NDK, to test what ships: clang and lld of the
# host, libc++'s headers, the C headers of another arm64 system and stand-ins for the system libraries
# (README.md). CMake's own Android support asks for an NDK, so to CMake this is a bare Linux.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(ANDROID TRUE)
set(SKYLEVEL_ANDROID_CHECK TRUE)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_ASM_COMPILER clang)
foreach(language IN ITEMS C CXX ASM)
    set(CMAKE_${language}_COMPILER_TARGET aarch64-linux-android23)
endforeach()
foreach(tool IN ITEMS ar ranlib nm strip readelf objdump)
    string(TOUPPER ${tool} variable)
    set(CMAKE_${variable} aarch64-linux-gnu-${tool})
endforeach()

# libc++ of the compiler's own version lies beside it.
execute_process(COMMAND clang -print-resource-dir OUTPUT_VARIABLE resources OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(headers ${resources}/../../../include/c++/v1 ABSOLUTE)
if(NOT EXISTS ${headers}/memory)
    message(FATAL_ERROR "There is no libc++ in ${headers}; on Debian it is in libc++-dev")
endif()
set(CMAKE_C_FLAGS_INIT "-nostdlibinc -isystem /usr/aarch64-linux-gnu/include")
set(CMAKE_CXX_FLAGS_INIT "-nostdlibinc -nostdinc++ -isystem ${headers} -isystem /usr/aarch64-linux-gnu/include")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-fuse-ld=lld -nostdlib -Wno-unused-command-line-argument")

# There is no start-up code to link a program with.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

# Nothing of the build machine goes into the object.
set(CMAKE_SKIP_RPATH TRUE)
