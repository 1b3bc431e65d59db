// One fault of each kind that the checks have to refuse.
#if defined(FAULT_relocations)
    .text
    .quad memcpy
#elif defined(FAULT_permissions)
    .section .patched, "awx", %progbits
    .quad 0
#elif defined(FAULT_exports)
    .text
    .globl skylevel_extra
skylevel_extra:
    ret
#elif defined(FAULT_weak)
    .data
    .weak qsort
    .quad qsort
#elif defined(FAULT_unlisted)
    .data
    .quad qsort
#elif defined(FAULT_fused)
    .text
    fmadd s0, s1, s2, s3
    fmla v0.4s, v1.4s, v2.4s
#elif defined(FAULT_size)
    .section .rodata
    .fill 32768, 1, 0xA5
#endif
