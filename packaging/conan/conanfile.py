# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

import os

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, rmdir

ROOT = os.path.join("..", "..")


class KorvelRecipe(ConanFile):
    name = "korvel"
    version = "0.1.0"
    description = "Structured logging library"
    license = "MIT"
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False]}
    default_options = {"shared": True, "fPIC": True}
    implements = ["auto_shared_fpic"]

    def export_sources(self):
        root = os.path.join(self.recipe_folder, ROOT)
        for pattern in ("CMakeLists.txt", "LICENSES/*", "cmake/*", "include/*", "src/*",
                        "scripts/debug/*"):
            copy(self, pattern, root, self.export_sources_folder)

    def layout(self):
        cmake_layout(self)

    def validate(self):
        if self.settings.get_safe("compiler.cppstd"):
            check_min_cppstd(self, 17)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["KORVEL_TESTS"] = False
        toolchain.cache_variables["KORVEL_EXAMPLES"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "MIT.txt", os.path.join(self.source_folder, "LICENSES"),
             os.path.join(self.package_folder, "licenses"))
        for unwanted in ("lib/cmake", "lib/pkgconfig", "share/doc", "share/gdb"):
            rmdir(self, os.path.join(self.package_folder, unwanted))

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "Korvel")
        core = self.cpp_info.components["Korvel"]
        core.libs = ["korvel"]
        core.set_property("cmake_target_name", "Korvel::Korvel")
        core.set_property("pkg_config_name", "korvel")
        if not self.options.shared:
            core.defines = ["KORVEL_STATIC"]
        if self.settings.os in ("Linux", "FreeBSD"):
            core.system_libs = ["pthread"]
        extras = self.cpp_info.components["Extras"]
        extras.libs = ["korvel-extras"]
        extras.requires = ["Korvel"]
        extras.set_property("cmake_target_name", "Korvel::Extras")
        extras.set_property("pkg_config_name", "korvel-extras")
