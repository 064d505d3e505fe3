#!/usr/bin/env python3
"""Installs the build into an empty folder and uses it as other projects do.

Runs in a sandbox, since it launches: sandbox python3 package_test.py [Package.testNAME]
Environment: LAUNCHER_SOURCE and LAUNCHER_BUILD, the folders of the project and of its build.
"""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time
import unittest

SOURCE = pathlib.Path(os.environ["LAUNCHER_SOURCE"])
BUILD = pathlib.Path(os.environ["LAUNCHER_BUILD"])
VERSION = "45.12.0.900"
LAUNCHER = "libThinClientLauncher.dylib"

PARENT = """
cmake_minimum_required(VERSION 3.22)
project(Parent LANGUAGES C CXX)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
%s
add_executable(parent_host %s/examples/host/Host.c)
target_link_libraries(parent_host PRIVATE ThinClientLauncher::Host)
add_custom_target(launcher_library DEPENDS ThinClientLauncher::ThinClientLauncher)
"""


def run(*words, **options):
    """What the command prints; fails with all of it unless the command succeeds."""
    result = subprocess.run([str(word) for word in words], text=True, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, **options)
    if result.returncode != 0:
        raise AssertionError(f"{words} ended with {result.returncode}:\n{result.stdout}")
    return result.stdout


def build(source, folder, *options, target="all"):
    run("cmake", "-S", source, "-B", folder, *options)
    run("cmake", "--build", folder, "--parallel", "2", "--target", target)


class Package(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.prefix = self.folder / "prefix"
        self.home = self.folder / "home"

    def tearDown(self):
        shutil.rmtree(self.folder)

    def install(self, *options):
        run("cmake", "--install", BUILD, "--prefix", self.prefix, *options)

    def installed(self):
        return {str(path.relative_to(self.prefix)) for path in self.prefix.rglob("*")
                if not path.is_dir()}

    def layOutCopy(self, bundle):
        copy = self.home / "Library/Application Support/VantuOrlixVDILauncher" / VERSION
        copy.mkdir(parents=True)
        shutil.move(bundle, copy / "OrlixVDIPlugin.app")  # all that it needs lies in it
        return copy

    def assertLaunches(self, copy, *host):
        """The host starts the copy, which records its safe start."""
        run(*host, env=dict(os.environ, HOME=str(self.home)), cwd=self.home)
        self.assertEqual((copy / "launchCount.dat").read_text(), "1")
        for _ in range(600):
            if (copy / "started.dat").exists():
                return
            time.sleep(0.1)
        self.fail("the copy did not record its safe start")

    def assertEveryHostLaunches(self, folder, bundle):
        library = next(self.prefix.rglob(LAUNCHER))
        kit = next(self.prefix.rglob("libThinClientLauncherHost.so.?"))
        client = "45.12.0.1000"
        for host in ([folder / "example_host", library, client],
                     [folder / "example_following_host", library, client],
                     [folder / "example_catching_host", client],
                     ["python3", SOURCE / "examples/host/host.py", kit, library, client]):
            copy = self.layOutCopy(bundle)
            self.assertLaunches(copy, *host)
            shutil.move(copy / "OrlixVDIPlugin.app", bundle)
            shutil.rmtree(self.home)

    def testComponents(self):
        expected = {
            "library": {LAUNCHER, "libThinClientLauncherHost.so.1"},
            "development": {"ThinClientLauncherEntryPoint.h", "ThinClientLauncher.h",
                            "ThinClientLauncherBase.h", "ThinClientLauncherHost.h",
                            "ThinClientLauncherPlugin.h", "libThinClientLauncherHost.so",
                            "libThinClientLauncherPlugin.a", "ThinClientLauncher.pc",
                            "module.modulemap",
                            "ThinClientLauncherConfig.cmake"},
            "tools": {"launcher-inspect", "launcher-inspect.1"},
            "docs": {"README.md", "Host.c"}}
        seen = set()
        for component, names in expected.items():
            self.install("--component", component)
            files = self.installed()
            self.assertLessEqual(names, {pathlib.Path(file).name for file in files}, component)
            self.assertFalse(seen & files, component)
            seen |= files
            shutil.rmtree(self.prefix)
        self.install()
        self.assertEqual(self.installed(), seen, "a file belongs to no component")

    def testDocumentsLinkInstalledFiles(self):
        self.install("--component", "docs")
        links = [document.parent / link for document in self.prefix.rglob("*.md")
                 for link in re.findall(r"\]\(([^):#]+)[^):]*\)", document.read_text())]
        self.assertGreater(len(links), 50)
        self.assertEqual([link for link in links if not link.exists()], [])

    def testConfigRefusesOtherMajor(self):
        self.install("--component", "development")
        self.install("--component", "library")
        for version, found in [("1.0", True), ("2.0", False)]:
            (self.folder / "CMakeLists.txt").write_text(
                "cmake_minimum_required(VERSION 3.22)\nproject(P LANGUAGES C)\n"
                f"find_package(ThinClientLauncher {version} REQUIRED)\n")
            result = subprocess.run(
                ["cmake", "-S", self.folder, "-B", self.folder / version,
                 f"-DCMAKE_PREFIX_PATH={self.prefix}"], capture_output=True, check=False)
            self.assertEqual(result.returncode == 0, found, version)

    def testFindPackage(self):
        self.install()
        folder = self.folder / "build"
        build(next(self.prefix.rglob("examples")), folder, f"-DCMAKE_PREFIX_PATH={self.prefix}")
        self.assertEveryHostLaunches(folder, folder / "OrlixVDIPlugin.app")

    def testPluginInCAlone(self):
        self.install()
        (self.folder / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.22)\nproject(P LANGUAGES C)\n"
            "find_package(ThinClientLauncher REQUIRED)\n"
            f"add_executable(application {SOURCE}/examples/plugin/Application.c)\n"
            "target_link_libraries(application ThinClientLauncher::Plugin)\n")
        build(self.folder, self.folder / "build", f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run(self.folder / "build/application")

    def testPkgConfig(self):
        self.install()
        environment = dict(os.environ,
                           PKG_CONFIG_PATH=str(next(self.prefix.rglob("pkgconfig"))))

        def compileWith(package, compiler, source, output, *options):
            flags = run("pkg-config", "--cflags", "--libs", package, env=environment).split()
            run(compiler, *options, SOURCE / "examples" / source, *flags, "-o", output)

        bundle = self.folder / "OrlixVDIPlugin.app"
        for name in ("MacOS", "Frameworks"):
            (bundle / "Contents" / name).mkdir(parents=True)
        shutil.copy(SOURCE / "examples/plugin/Info.plist", bundle / "Contents")
        shutil.copy(next(self.prefix.rglob(LAUNCHER)), bundle / "Contents/Frameworks")
        compileWith("ThinClientLauncherHost", "cc", "host/Host.c", self.folder / "example_host")
        compileWith("ThinClientLauncherHost", "c++", "host/FollowingHost.cpp",
                    self.folder / "example_following_host")
        compileWith("ThinClientLauncher", "c++", "host/CatchingHost.cpp",
                    self.folder / "example_catching_host")
        compileWith("ThinClientLauncherPlugin", "c++", "plugin/Application.cpp",
                    bundle / "Contents/MacOS/OrlixVDIPlugin")
        compileWith("ThinClientLauncherPlugin", "c++", "plugin/MainLibrary.cpp",
                    bundle / "Contents/Frameworks/libnexal_vdi_main.dylib", "-shared", "-fPIC",
                    SOURCE / "examples/plugin/Session.cpp")
        self.assertEveryHostLaunches(self.folder, bundle)

    def buildParent(self, lines, target):
        parent = self.folder / "parent"
        parent.mkdir()
        (parent / "CMakeLists.txt").write_text(PARENT % (lines, SOURCE))
        folder = self.folder / "build"
        build(parent, folder, target=target)
        result = subprocess.run([folder / "parent_host"], capture_output=True, text=True,
                                check=False)
        self.assertIn("usage", result.stderr)
        run("cmake", "--install", folder, "--prefix", self.prefix)
        self.assertEqual(self.installed(), set())
        self.assertFalse(list(folder.rglob("launcher-inspect*")), "the tools are left out")
        return folder

    def testAddSubdirectory(self):
        """The library is hardened where nothing asks for it."""
        folder = self.buildParent(f"add_subdirectory({SOURCE} launcher)", "all")
        run(SOURCE / "scripts/check-hardening.sh", next(folder.rglob(LAUNCHER)))

    def testFetchContent(self):
        folder = self.buildParent("set(BUILD_SHARED_LIBS OFF)\ninclude(FetchContent)\n"
                                  f"FetchContent_Declare(ThinClientLauncher SOURCE_DIR {SOURCE})\n"
                                  "FetchContent_MakeAvailable(ThinClientLauncher)", "parent_host")
        self.assertFalse(list(folder.rglob("libThinClientLauncherHost.so*")))

    def testSuitesStandAlone(self):
        """A suite that lacks a package leaves itself out alone, unless the tests were asked for."""
        pkg_config = self.folder / "pkg-config"
        pkg_config.write_text('#!/bin/sh\n[ "${*#*libplist}" = "$*" ] && exec pkg-config "$@"\n')
        pkg_config.chmod(0o755)
        absent = ("LAUNCHER_zsh", "LAUNCHER_strace", "LAUNCHER_python3", "BLOCKS_RUNTIME_LIBRARY")
        folder = self.folder / "build"
        configure = ["cmake", "-S", SOURCE, "-B", folder, f"-DPKG_CONFIG_EXECUTABLE={pkg_config}",
                     "-DLAUNCHER_BUILD_BENCHMARKS=OFF", *(f"-D{name}=OFF" for name in absent)]
        left_out = {
            "the tests of the property list reader": "libplist-dev",
            "the fuzz target of property lists": "libplist-dev",
            "the tests of the macOS bridge": "libblocksruntime-dev",
            "the tests of the command's documents and system calls": "strace zsh",
            "the tests of the package": "python3",
            "the tests of the documents": "python3"}
        output = run(*configure)
        self.assertEqual(dict(re.findall(r"Left out: (.*) \(needs (.*)\)", output)), left_out)
        built = set(re.findall(r"\w+_tests", run("ctest", "--test-dir", folder, "-N")))
        self.assertEqual(
            built, {"unit_tests", "e2e_tests", "inspect_tests", "kits_tests", "hostile_tests"})
        asked = subprocess.run([*configure, "-DLAUNCHER_BUILD_TESTS=ON"], text=True,
                               capture_output=True, check=False)
        self.assertNotEqual(asked.returncode, 0)
        for packages in left_out.values():
            self.assertIn(f"missing: {packages}.", " ".join(asked.stderr.split()))

    def testPartsNamePackages(self):
        """A part that lacks a package names one that the scripts know."""
        files = [*SOURCE.glob("*/CMakeLists.txt"), *SOURCE.glob("*/*/CMakeLists.txt")]
        lists = re.findall(r'\nlauncher_needs\(\w+ "[^"]*"([^)]*)',
                           "".join(file.read_text() for file in files))
        named = {package for pairs in lists for package in pairs.split()[::2]}
        named -= {"Linux", "LAUNCHER_BUILD_TOOLS=ON"}
        known = set(re.findall(r"^\w+ +([a-z0-9+.-]+)", (SOURCE / "scripts/packages.txt")
                               .read_text().replace("-LLVM", ""), re.MULTILINE))
        self.assertGreater(len(named), 15)
        self.assertLessEqual(named, known)


if __name__ == "__main__":
    unittest.main()
