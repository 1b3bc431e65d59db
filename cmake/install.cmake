# What `cmake --install` writes, in three parts: library (to run programs), dev (to build them), tool.
# Everything in it finds everything else from where it lies, so the folder can be moved.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/skylevel)

# Android has the log's header itself.
set(log_headers ${CMAKE_INSTALL_INCLUDEDIR}/skylevel-log)
set(log_includes)
if(NOT ANDROID)
    set(log_includes INCLUDES DESTINATION ${log_headers})
endif()
install(
    TARGETS skylevel skylevel_static
    EXPORT skylevel
    LIBRARY COMPONENT library NAMELINK_COMPONENT dev
    ARCHIVE COMPONENT dev
    INCLUDES
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
)
install(
    TARGETS skylevel_log
    EXPORT skylevel
    LIBRARY COMPONENT library NAMELINK_COMPONENT dev
    ${log_includes}
)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/skylevel TYPE INCLUDE COMPONENT dev)
install(
    EXPORT skylevel
    FILE skylevelConfig.cmake
    NAMESPACE skylevel::
    DESTINATION ${package_folder}
    COMPONENT dev
)
write_basic_package_version_file(
    ${CMAKE_CURRENT_BINARY_DIR}/skylevelConfigVersion.cmake COMPATIBILITY SameMajorVersion
)
install(
    FILES ${CMAKE_CURRENT_BINARY_DIR}/skylevelConfigVersion.cmake
    DESTINATION ${package_folder}
    COMPONENT dev
)
if(ANDROID)
    return()
endif()

# In the system's own folders the loader looks anyway.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL /usr)
    set_target_properties(skylevel PROPERTIES INSTALL_RPATH $ORIGIN)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/host/android DESTINATION ${log_headers} COMPONENT dev)
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(name IN ITEMS skylevel skylevel-log)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc @ONLY)
    install(
        FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT dev
    )
endforeach()

if(SKYLEVEL_TOOL)
    if(NOT CMAKE_INSTALL_PREFIX STREQUAL /usr)
        file(RELATIVE_PATH libraries_from_tool /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
        set_target_properties(skylevel_tool PROPERTIES INSTALL_RPATH $ORIGIN/${libraries_from_tool})
    endif()
    install(TARGETS skylevel_tool COMPONENT tool)
    set(manual ${PROJECT_SOURCE_DIR}/tools/skylevel.1)
    set(packed_manual ${CMAKE_CURRENT_BINARY_DIR}/skylevel.1.gz)
    add_custom_command(
        OUTPUT ${packed_manual}
        COMMAND gzip -9 -n -c ${manual} > ${packed_manual}
        DEPENDS ${manual}
        VERBATIM
    )
    add_custom_target(skylevel_manual ALL DEPENDS ${packed_manual})
    install(FILES ${packed_manual} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
    install(
        FILES ${PROJECT_SOURCE_DIR}/tools/completions/skylevel
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        COMPONENT tool
    )
    install(
        FILES ${PROJECT_SOURCE_DIR}/tools/completions/_skylevel
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
        COMPONENT tool
    )
endif()

if(PROJECT_IS_TOP_LEVEL)
    include(cmake/packages.cmake)
endif()
