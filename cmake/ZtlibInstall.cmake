# Install rules: library, headers, CMake package and pkg-config file; also the package files of the
# build tree, so that find_package(ztlib) works against either.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ztlib)

install(TARGETS ztlib EXPORT ztlibTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY include/ztlib DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
if(TARGET ztlabel)
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

# What a consumer must define, for those that read the .pc file instead of the CMake package.
set(pc_cflags "")
if(NOT BUILD_SHARED_LIBS)
    string(APPEND pc_cflags " -DZTLIB_STATIC")
endif()
if(ZTLIB_CHECKED OR CMAKE_BUILD_TYPE STREQUAL "Debug")
    string(APPEND pc_cflags " -DZTLIB_CHECKED")
endif()
set(pc_private_libs "")
if(WIN32)
    set(pc_private_libs " -lnetapi32 -liphlpapi -lws2_32")
endif()
configure_file(cmake/ztlib.pc.in ${PROJECT_BINARY_DIR}/ztlib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ztlib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
