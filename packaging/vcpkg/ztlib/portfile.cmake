# An overlay port that builds this checkout:
#   vcpkg install ztlib --overlay-ports=packaging/vcpkg
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

vcpkg_cmake_configure(SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS -DZTLIB_BUILD_TESTS=OFF -DZTLIB_BUILD_TOOL=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME ztlib CONFIG_PATH lib/cmake/ztlib)
vcpkg_fixup_pkgconfig()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")

# There is no licence text to install yet.
set(VCPKG_POLICY_SKIP_COPYRIGHT_CHECK enabled)
