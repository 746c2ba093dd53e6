# What cpack makes: a Debian package of each component, or one archive for Windows. The preset `package`
# configures for the former; scripts/check-packages tries both.
set(CPACK_PACKAGE_VENDOR "ztlib")
set(CPACK_PACKAGE_CONTACT "ztlib maintainers <maintainers@ztlib.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_VERBATIM_VARIABLES ON)
# Files go in as they were built: a backtrace names functions by the symbols that are in them.
set(CPACK_STRIP_FILES OFF)

if(WIN32)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_FILE_NAME ztlib-${PROJECT_VERSION}-windows-i686)
    set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY ON)
else()
    set(CPACK_GENERATOR DEB)
    set(CPACK_DEB_COMPONENT_INSTALL ON)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
    set(library_package libztlib${PROJECT_VERSION_MAJOR})
    set(same_library "${library_package} (= ${PROJECT_VERSION})")

    set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library_package})
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
    set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The shared library that programs built with ztlib need.")

    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libztlib-dev)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
    if(BUILD_SHARED_LIBS)
        set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${same_library}, libstdc++-dev")
    endif()
    set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
        "Headers, CMake package and pages: what building programs with ztlib needs.")

    set(CPACK_DEBIAN_TOOL_PACKAGE_NAME ztlabel)
    set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION science)
    set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
    if(BUILD_SHARED_LIBS)
        set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${same_library}")
    endif()
    # The tool's dependencies are found while its library is not installed.
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
    set(CPACK_COMPONENT_TOOL_DESCRIPTION "ztlabel finds the connected components of NIfTI volumes.")
endif()
include(CPack)
