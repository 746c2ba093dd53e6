# The project's options and the compile flags that every target of ours shares.
if(PROJECT_IS_TOP_LEVEL)
    option(BUILD_SHARED_LIBS "Build ztlib as a shared library" ON)
elseif(NOT DEFINED BUILD_SHARED_LIBS)
    # For this folder only: what the surrounding project does not say is not decided for its targets.
    set(BUILD_SHARED_LIBS ON)
endif()
option(ZTLIB_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(ZTLIB_BUILD_TOOL "Build the command-line tool ztlabel" ${PROJECT_IS_TOP_LEVEL})
option(ZTLIB_BUILD_BENCHMARKS "Build the benchmarks" OFF)
option(ZTLIB_BUILD_FUZZERS "Build the fuzz entries for libFuzzer; needs clang" OFF)
option(ZTLIB_INSTALL "Generate the install rules" ${PROJECT_IS_TOP_LEVEL})
option(ZTLIB_WERROR "Treat warnings as errors" OFF)
option(ZTLIB_CHECKED "Report broken contracts (always on in Debug)" OFF)
set(ZTLIB_SANITIZE "" CACHE STRING "Sanitizers to build with, for example address,undefined")

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

# What each of our targets is compiled with. Contraction of floating-point expressions is off and
# fast-math is never used: "exactly 0", "equal in single precision" and NaN tests depend on it.
function(ztlib_compile_options target)
    target_compile_features(${target} PRIVATE cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -ffp-contract=off
        # Version 12 sees overlapping copies in the inlined text + std::string of its own library.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
        $<$<BOOL:${ZTLIB_WERROR}>:-Werror>)
    # Where builds are to be reproducible, nothing of what they make depends on their folders.
    if(DEFINED ENV{SOURCE_DATE_EPOCH})
        get_filename_component(root ${CMAKE_CURRENT_FUNCTION_LIST_DIR} DIRECTORY)
        target_compile_options(${target} PRIVATE
            -ffile-prefix-map=${root}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=.)
    endif()
    if(ZTLIB_BUILD_FUZZERS)
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
    if(ZTLIB_SANITIZE)
        # Raw slots of an array, all zeros, may be used as empty texts; they have no virtual table.
        target_compile_options(${target} PRIVATE
            -fsanitize=${ZTLIB_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all
            -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${ZTLIB_SANITIZE})
    endif()
endfunction()

# Public properties of the library itself: include paths, version, the contract switch.
function(ztlib_configure_library target)
    ztlib_compile_options(${target})
    target_compile_features(${target} PUBLIC cxx_std_17)
    # Calls from the library to itself need not go through a table that a program could change.
    target_compile_options(${target} PRIVATE $<$<NOT:$<PLATFORM_ID:Windows>>:-fno-semantic-interposition>)
    # GCC 12 at -O3, making vectors of neighbouring statements, at times takes a lane before it is
    # rounded to float instead of after that, so that results differ in the last bit from other
    # systems' (the digests of tests/platform show it). Loops and written vectors are not affected.
    target_compile_options(${target} PRIVATE
        $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)
    target_include_directories(${target}
        PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
               $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
        PRIVATE ${PROJECT_SOURCE_DIR}/src)
    target_compile_definitions(${target} PRIVATE ZTLIB_BUILDING)
    if(NOT BUILD_SHARED_LIBS)
        target_compile_definitions(${target} PUBLIC ZTLIB_STATIC)
    endif()
    if(ZTLIB_CHECKED)
        target_compile_definitions(${target} PUBLIC ZTLIB_CHECKED)
    else()
        target_compile_definitions(${target} PUBLIC $<$<CONFIG:Debug>:ZTLIB_CHECKED>)
    endif()
    set_target_properties(${target} PROPERTIES
        POSITION_INDEPENDENT_CODE ON
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        EXPORT_NAME ztlib)
    if(WIN32)
        set_target_properties(${target} PROPERTIES PREFIX "")
    endif()
endfunction()
