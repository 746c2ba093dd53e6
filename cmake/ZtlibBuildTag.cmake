# Has the build write its tag into a library that contains src/ids/ZtBuildTag.cpp, each time that it is
# linked. What the tag says of vendor, product, build number and comment may be set here.
set(ZTLIB_TAG_VENDOR "" CACHE STRING "Build tag: the vendor")
set(ZTLIB_TAG_PRODUCT "" CACHE STRING "Build tag: the product")
set(ZTLIB_TAG_BUILD_NUMBER 0 CACHE STRING "Build tag: the number of the build")
set(ZTLIB_TAG_COMMENT "" CACHE STRING "Build tag: a comment")
find_program(ZTLIB_BASH bash)
mark_as_advanced(ZTLIB_BASH)

function(ztlib_stamp_build_tag target source)
    set(size 8192)
    # Without debug information, which would hold the marker once more.
    set_source_files_properties(${source} TARGET_DIRECTORY ${target} PROPERTIES
        COMPILE_OPTIONS -g0 COMPILE_DEFINITIONS ZTLIB_BUILD_TAG_SIZE=${size})
    if(NOT ZTLIB_BASH)
        message(WARNING "bash was not found: the build tag will be empty")
        return()
    endif()
    # The name without version: libztlib.so, ztlib.dll.
    set(filename $<TARGET_FILE_PREFIX:${target}>$<TARGET_FILE_BASE_NAME:${target}>$<TARGET_FILE_SUFFIX:${target}>)
    add_custom_command(TARGET ${target} POST_BUILD VERBATIM
        COMMAND ${ZTLIB_BASH} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/stamp-build-tag $<TARGET_FILE:${target}> ${size}
            "vendor=${ZTLIB_TAG_VENDOR}"
            "product=${ZTLIB_TAG_PRODUCT}"
            "version_major=${PROJECT_VERSION_MAJOR}"
            "version_minor=${PROJECT_VERSION_MINOR}"
            "version_patch=${PROJECT_VERSION_PATCH}"
            "version_tag=${ZTLIB_TAG_BUILD_NUMBER}"
            "comment=${ZTLIB_TAG_COMMENT}"
            "compiler=${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}"
            "target_os=${CMAKE_SYSTEM_NAME}"
            "build_cfg=$<CONFIG>"
            build_user build_ip build_time
            "filename=${filename}"
            path size sha1)
endfunction()
