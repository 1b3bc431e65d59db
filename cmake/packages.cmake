# Debian packages of the three parts and a source archive, in a build folder with /usr as the prefix:
# `cpack -G DEB` and `cpack --config CPackSourceConfig.cmake`.
set(SKYLEVEL_CONTACT "skylevel developers <developers@skylevel.example>" CACHE STRING "Who answers for the packages")
set(CPACK_PACKAGE_CONTACT ${SKYLEVEL_CONTACT})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "tell whether a picture shows a horizon")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME skylevel-${PROJECT_VERSION})
# What .gitignore leaves out. The folder's own name is no expression.
string(REGEX REPLACE "[][+.*^$()|?\\]" "\\\\\\0" root "${PROJECT_SOURCE_DIR}")
set(CPACK_SOURCE_IGNORE_FILES "^${root}/build[^/]*/" "^${root}/demo/" "/\\.git/")

set(CPACK_COMPONENTS_ALL library dev)
if(TARGET skylevel_tool)
    list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/platform)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(library_package libskylevel${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "Decides whether an 8-bit gray plane shows a horizon and at what angle it
lies; turns and crops pictures.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libskylevel-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Headers, static library and build descriptions of libskylevel.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME skylevel)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "A command-line tool that says of photos whether they show a horizon, at what
angle and why.")

# Debian wants these with every package.
string(TIMESTAMP debian_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
string(TIMESTAMP year "%Y" UTC)
set(debian_folder ${PROJECT_BINARY_DIR}/debian)
foreach(file IN ITEMS changelog copyright)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/${file}.in ${debian_folder}/${file} @ONLY)
endforeach()
execute_process(COMMAND gzip -9 -n -k -f ${debian_folder}/changelog COMMAND_ERROR_IS_FATAL ANY)
foreach(part IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${part} part_name)
    install(
        FILES ${debian_folder}/copyright ${debian_folder}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${part_name}_PACKAGE_NAME}
        COMPONENT ${part}
    )
endforeach()

include(CPack)
