# The project's own flags, in one place. Linked PRIVATE, so that they reach nobody else.
option(SKYLEVEL_WERROR "Treat warnings as errors" OFF)

add_library(skylevel_flags INTERFACE)
target_compile_features(skylevel_flags INTERFACE cxx_std_20)
target_include_directories(skylevel_flags INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_options(
    skylevel_flags
    INTERFACE
        # Both compilers fuse a * b + c on arm64 unless told not to.
        -ffp-contract=off
        # Square roots become instructions, in vectors too. Nothing here looks at errno.
        -fno-math-errno
        -Wall
        -Wextra
        -Wpedantic
        -Wshadow
        -Wconversion
        -Wno-sign-conversion
        -Wdouble-promotion
        -Wnon-virtual-dtor
        # Vectors never cross a call: every function that passes one is inlined.
        -Wno-psabi
        $<$<BOOL:${SKYLEVEL_WERROR}>:-Werror>
)

# Leaves out every variant of a kernel but the baseline's, so that the tests can run it too.
option(SKYLEVEL_BASELINE_ONLY "Never use instructions beyond the platform's baseline" OFF)

# Everything that goes into libskylevel: exported by declaration only.
add_library(skylevel_library_flags INTERFACE)
target_link_libraries(skylevel_library_flags INTERFACE skylevel_flags skylevel_log)
target_compile_options(skylevel_library_flags INTERFACE -fvisibility=hidden -fvisibility-inlines-hidden)
if(ANDROID)
    # Neither asks anything of a C++ runtime then. The system's operator new ends the process on failure.
    target_compile_options(skylevel_library_flags INTERFACE -fno-exceptions -fno-rtti)
    target_compile_definitions(skylevel_library_flags INTERFACE _LIBCPP_DISABLE_EXTERN_TEMPLATE)
endif()
target_compile_definitions(skylevel_library_flags INTERFACE $<$<BOOL:${SKYLEVEL_BASELINE_ONLY}>:SKYLEVEL_BASELINE_ONLY>)

# One room of the library: skylevel_room(NAME FILE...).
function(skylevel_room name)
    add_library(skylevel_${name} OBJECT ${ARGN})
    set_target_properties(skylevel_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    target_link_libraries(skylevel_${name} PRIVATE skylevel_library_flags)
endfunction()
