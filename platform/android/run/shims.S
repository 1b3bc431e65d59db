// The names that libskylevel.so imports from Android's libc.so and libm.so, with Android's version node,
// passed on to glibc. The other names of this file are glibc's first versions on this processor.
    .macro forward name, version=GLIBC_2.17
    .symver glibc_\name, \name@\version
    .symver shim_\name, \name@@LIBC
    .globl shim_\name
    .type shim_\name, %function
shim_\name:
    b glibc_\name
    .endm

    .text
#if defined(SHIM_c)
    forward memcpy
    forward memmove
    forward memset
#elif defined(SHIM_m)
    forward acosf
    forward atan2
    forward atanf
    forward expf, GLIBC_2.27
    forward sincos
    forward tan
#endif
    .section .note.GNU-stack, "", %progbits
