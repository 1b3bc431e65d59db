// Names the API level that the object was built for, as the start-up files of an NDK do. The loader
// and the checks of application stores read it.
    .section .note.android.ident, "a", %note
    .balign 4
    .long 8     // bytes of the name
    .long 4     // bytes of the description
    .long 1     // the ident note
    .asciz "Android"
    .long __ANDROID_API__
