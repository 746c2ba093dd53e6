# ztlib_add_package(NAME sources...) makes the target NAME: a package that ZtDSO loads by that name, in
# the file libNAME.so or NAME.dll. It exports what ZT_PACKAGE_API marks, which is as a rule its
# initialisation function ostrelpackage_NAME_init, and nothing else.
function(ztlib_add_package name)
    if(NOT name MATCHES "^[A-Za-z_][A-Za-z0-9_]*$")
        message(FATAL_ERROR "ztlib_add_package: \"${name}\" is no name for a package; a function is "
            "called ostrelpackage_${name}_init, so it takes letters, digits and underscores")
    endif()
    get_target_property(kind ztlib::ztlib TYPE)
    if(kind STREQUAL "STATIC_LIBRARY")
        message(FATAL_ERROR "ztlib_add_package: packages and their host share one ztlib, which has to "
            "be built as a shared library")
    endif()
    add_library(${name} MODULE ${ARGN})
    target_link_libraries(${name} PRIVATE ztlib::ztlib)
    set_target_properties(${name} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    if(WIN32)
        set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".dll")
    else()
        set_target_properties(${name} PROPERTIES PREFIX "lib" SUFFIX ".so")
        # What is declared and nowhere defined is told by name when the package is linked, and not as
        # a mere failure when it is loaded.
        if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
            target_link_options(${name} PRIVATE LINKER:-z,defs)
        endif()
    endif()
endfunction()
