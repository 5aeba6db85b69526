#!/usr/bin/env python3
"""Tests scripts/setup among package managers that say what they are told to, and CMakeLists.txt with
a Qt that does not fit."""
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
TOOLS = ["awk", "cat", "dirname", "env", "grep", "id", "sed", "sh", "sort", "tr"]


class Setup(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.bin = pathlib.Path(folder.name)
        self.told = self.bin / "told"
        for tool in TOOLS:
            (self.bin / tool).symlink_to(shutil.which(tool))

    def there_is(self, program, script="exit 0"):
        path = self.bin / program
        path.write_text(f'#!/bin/sh\necho {program} "$@" >>"{self.told}"\n{script}\n')
        path.chmod(0o755)

    def set_up(self, *lists):
        return subprocess.run([ROOT / "scripts/setup", *lists], capture_output=True, text=True,
                              check=False, env={"PATH": str(self.bin)})

    def has_debian_packages(self, names):
        self.there_is("dpkg-query", "\n".join(f'echo "{name} installed"' for name in names))

    def installed_by_apt(self):
        lines = self.told.read_text().splitlines() if self.told.exists() else []
        installs = [line.split() for line in lines if line.startswith("apt-get install")]
        return [word for line in installs for word in line[2:] if not word.startswith("-")]

    def test_fedora_is_told_in_one_line_what_is_missing_by_its_names(self):
        self.there_is("dnf")
        self.there_is("rpm", '[ "$3" = cmake ]')
        done = self.set_up("run")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
        self.assertIn("sudo dnf install ", done.stderr)
        self.assertIn(" qt6-qtbase-private-devel", done.stderr)
        self.assertNotIn(" cmake", done.stderr)

    def test_arch_is_told_in_one_line_what_is_missing_by_its_names(self):
        self.there_is("pacman", '[ "$2" = cmake ]')
        done = self.set_up("run", "test")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
        self.assertIn("sudo pacman -S --needed ", done.stderr)
        self.assertIn(" qt6-svg", done.stderr)
        self.assertIn(" xorg-server-xvfb", done.stderr)
        self.assertNotIn(" cmake", done.stderr)

    def test_a_system_with_all_packages_is_told_nothing(self):
        self.there_is("pacman")
        done = self.set_up("run", "test")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))

    def test_any_other_system_is_told_the_names_of_all_three_and_may_go_on(self):
        done = self.set_up("run")
        self.assertEqual(done.returncode, 0)
        self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
        for name in (" qt6-base-dev ", " qt6-qtbase-devel ", " qt6-base "):
            self.assertIn(name, done.stderr)

    def test_of_two_names_for_a_package_either_is_enough(self):
        self.there_is("apt-get")
        names = " ".join(line.split("#")[0].split(";")[0] for line in
                         (ROOT / "packages/test.txt").read_text().splitlines()).split()
        for used in (0, -1):
            self.has_debian_packages(name.split("|")[used] for name in names)
            done = self.set_up("test")
            self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))

    def test_of_two_names_for_a_package_the_one_that_the_release_has_is_installed(self):
        self.there_is("apt-get")
        self.there_is("sudo", 'exec "$@"')
        self.has_debian_packages([])
        self.there_is("apt-cache", '[ "$2" != kglobalacceld ]')
        done = self.set_up("test")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn("libkf5globalaccel-bin", self.installed_by_apt())
        self.assertNotIn("kglobalacceld", self.installed_by_apt())
        self.assertIn("xvfb", self.installed_by_apt())


class Qt(unittest.TestCase):
    def test_one_that_does_not_fit_is_named_before_anything_is_built(self):
        with tempfile.TemporaryDirectory() as folder:
            done = subprocess.run(
                ["cmake", "-G", "Ninja", "-S", ROOT, "-B", folder, "-DCMAKE_CXX_FLAGS=-DsetAppTime="],
                capture_output=True, text=True, check=False)
        self.assertNotEqual(done.returncode, 0)
        errors = [line for line in done.stderr.splitlines() if line.startswith("CMake Error")]
        self.assertEqual(len(errors), 1, done.stderr)
        self.assertIn("QtInternals.cpp", done.stderr)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]])
