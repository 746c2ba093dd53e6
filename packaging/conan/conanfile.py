"""Makes a Conan 2 package of this checkout: conan create packaging/conan"""

import os
import re

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load, rmdir


class Ztlib(ConanFile):
    name = "ztlib"
    description = "Foundation classes for interactive 3-D visualisation and image processing"
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False], "checked": [True, False]}
    default_options = {"shared": True, "fPIC": True, "checked": False}
    implements = ["auto_shared_fpic"]

    def _checkout(self):
        return os.path.join(self.recipe_folder, "..", "..")

    def set_version(self):
        lists = load(self, os.path.join(self._checkout(), "CMakeLists.txt"))
        self.version = re.search(r"project\(ztlib VERSION ([0-9.]+)", lists).group(1)

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "README.md", "CHANGELOG.md", "cmake/*", "debugger/*", "docs/*",
                        "examples/*", "include/*", "scripts/*", "src/*"):
            copy(self, pattern, src=self._checkout(), dst=self.export_sources_folder)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["ZTLIB_BUILD_TESTS"] = False
        toolchain.cache_variables["ZTLIB_BUILD_TOOL"] = False
        toolchain.cache_variables["ZTLIB_CHECKED"] = bool(self.options.checked)
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        # Conan writes its own.
        rmdir(self, os.path.join(self.package_folder, "lib", "pkgconfig"))

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "ztlib")
        self.cpp_info.set_property("cmake_target_name", "ztlib::ztlib")
        self.cpp_info.set_property("pkg_config_name", "ztlib")
        self.cpp_info.set_property("cmake_build_modules",
                                   [os.path.join("lib", "cmake", "ztlib", "ZtlibAddPackage.cmake")])
        self.cpp_info.libs = ["ztlib"]
        if not self.options.shared:
            self.cpp_info.defines.append("ZTLIB_STATIC")
            windows = ["netapi32", "iphlpapi", "ws2_32"]
            self.cpp_info.system_libs = windows if self.settings.os == "Windows" else ["dl"]
        if self.options.checked or self.settings.build_type == "Debug":
            self.cpp_info.defines.append("ZTLIB_CHECKED")
