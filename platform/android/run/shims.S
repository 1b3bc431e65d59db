// The names that libskylevel.so imports from Android's libc.so and libm.so, with Android's version node,
// passed on to glibc: in two steps, for a library that defines a name cannot also take it from another.
#if defined(SHIM_glibc)
    .macro forward name
    .globl glibc_\name
    .type glibc_\name, %function
glibc_\name:
    b \name
    .endm
#else
    .macro forward name
    .symver shim_\name, \name@@LIBC
    .globl shim_\name
    .type shim_\name, %function
shim_\name:
    b glibc_\name
    .endm
#endif

    .text
#if defined(SHIM_glibc) || defined(SHIM_c)
    forward abs
    forward memchr
    forward memcpy
    forward memmove
    forward memset
#endif
#if defined(SHIM_glibc) || defined(SHIM_m)
    forward acosf
    forward atan2
    forward atanf
    forward cos
    forward expf
    forward sin
    forward sincos
    forward tan
#endif
    .section .note.GNU-stack, "", %progbits
