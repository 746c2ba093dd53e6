# Install rules: library, headers, CMake package and pkg-config file, the pages; also the package files
# of the build tree, so that find_package(ztlib) works against either. Three components: `runtime` is
# what programs need, `development` what building them needs, `tool` the command-line tool.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ztlib)

install(TARGETS ztlib EXPORT ztlibTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY include/ztlib DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
    FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.svg")
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
if(TARGET ztlabel)
    # The library of the same tree, wherever that is installed.
    file(RELATIVE_PATH bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(ztlabel PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
    install(TARGETS ztlabel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
endif()

configure_package_config_file(cmake/ztlibConfig.cmake.in ${PROJECT_BINARY_DIR}/ztlibConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ztlibConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(EXPORT ztlibTargets NAMESPACE ztlib:: DESTINATION ${package_dir} COMPONENT development)
configure_file(cmake/ZtlibAddPackage.cmake ${PROJECT_BINARY_DIR}/ZtlibAddPackage.cmake COPYONLY)
export(EXPORT ztlibTargets NAMESPACE ztlib:: FILE ${PROJECT_BINARY_DIR}/ztlibTargets.cmake)
install(FILES ${PROJECT_BINARY_DIR}/ztlibConfig.cmake ${PROJECT_BINARY_DIR}/ztlibConfigVersion.cmake
    cmake/ZtlibAddPackage.cmake DESTINATION ${package_dir} COMPONENT development)

# What a consumer must define and link, for those that read the .pc file instead of the CMake package.
# Its folder tells where the rest lies, so that an installed tree can be moved.
set(pc_cflags "")
if(NOT BUILD_SHARED_LIBS)
    string(APPEND pc_cflags " -DZTLIB_STATIC")
endif()
if(ZTLIB_CHECKED OR CMAKE_BUILD_TYPE STREQUAL "Debug")
    string(APPEND pc_cflags " -DZTLIB_CHECKED")
endif()
set(pc_libraries "-lstdc++")
get_target_property(libraries ztlib LINK_LIBRARIES)
list(FILTER libraries EXCLUDE REGEX "^::@")  # which folder's call named them
foreach(library IN LISTS libraries)
    string(APPEND pc_libraries " -l${library}")
endforeach()
if(BUILD_SHARED_LIBS)
    set(pc_libs "")
    set(pc_libs_private ${pc_libraries})
else()
    set(pc_libs " ${pc_libraries}")
    set(pc_libs_private "")
endif()
file(RELATIVE_PATH pc_to_prefix
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" pc_to_prefix ${pc_to_prefix})
configure_file(cmake/ztlib.pc.in ${PROJECT_BINARY_DIR}/ztlib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ztlib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
