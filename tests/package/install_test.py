"""Installs the build as `make install` does, runs it from there, and removes it again.

ORVANE_BUILD names the build folder, ORVANE_SOURCE the source tree, ORVANE_LIBDIR the folder of
libraries below the prefix.
"""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

BUILD = os.environ["ORVANE_BUILD"]
SOURCE = pathlib.Path(os.environ["ORVANE_SOURCE"])
LIBDIR = os.environ["ORVANE_LIBDIR"]
SCRIPT = SOURCE / "scripts/install"
SYSTEM_PATH = "/usr/local/bin:/usr/bin:/bin"


class InstallTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="orvane-install-"))
        self.addCleanup(shutil.rmtree, self.folder, True)
        self.prefix = self.folder / "a place"

    def run_script(self, *arguments, path=SYSTEM_PATH, **more):
        environment = {"PATH": path, "HOME": str(self.folder / "home"), **more}
        return subprocess.run(
            [SCRIPT, *arguments], cwd=self.folder, env=environment, capture_output=True, text=True,
            timeout=300, check=False)

    def install(self, path=SYSTEM_PATH):
        done = self.run_script("--build", BUILD, str(self.prefix), path=path)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    def files(self):
        return sorted(
            str(path.relative_to(self.prefix)) for path in self.prefix.rglob("*") if not path.is_dir())

    def assert_refused(self, done, text):
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertRegex(done.stderr, rf"^install: {text}\n$")

    def test_everything_is_in_its_place(self):
        self.install()
        files = self.files()
        for name in ("bin/orvane", f"{LIBDIR}/liborvanesdk.so", f"{LIBDIR}/liborvaneimport.so",
                     f"{LIBDIR}/liborvanegdal.so.0.1.0",
                     f"{LIBDIR}/orvane/AsciiReader.so",
                     f"{LIBDIR}/cmake/Orvane/OrvaneConfig.cmake", "include/Orvane/BString.h",
                     "share/doc/orvane/command-line.md", "share/orvane/installed-files.txt"):
            self.assertIn(name, files)
        for library in ("sdk", "import", "export"):
            folder = SOURCE / library / "include"
            headers = {f"include/{path.relative_to(folder)}" for path in folder.rglob("*.h")}
            self.assertLessEqual(headers, set(files))
        listed = (self.prefix / "share/orvane/installed-files.txt").read_text().splitlines()
        self.assertEqual(sorted([*listed, "share/orvane/installed-files.txt"]), files)

    def test_the_program_is_found_and_finds_its_module(self):
        self.install()
        shutil.copy(SOURCE / "examples/data/earthquakes.csv", self.folder)
        done = subprocess.run(
            ["orvane", "import", "earthquakes.csv"], cwd=self.folder, capture_output=True, text=True,
            env={"PATH": f"{self.prefix}/bin"}, timeout=60, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn("Written:  earthquakes.gpkg (GPKG), 1197 rows, 1197 points", done.stdout)

    def test_the_library_over_gdal_is_found(self):
        self.install()
        shutil.copy(SOURCE / "examples/data/earthquakes.csv", self.folder)
        done = subprocess.run(
            ["orvane", "import", "earthquakes.csv", "earthquakes.shp"], cwd=self.folder, capture_output=True,
            text=True, env={"PATH": f"{self.prefix}/bin"}, timeout=60, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("Written:  earthquakes.shp (ESRI Shapefile), 1197 rows, 1197 points", done.stdout)

    def test_a_folder_that_is_on_no_path_is_named(self):
        self.assertEqual(
            self.install(),
            f"Installed orvane in {self.prefix}.\n"
            "Its commands are not found yet; put this line into ~/.profile, too:\n"
            f'    export PATH="{self.prefix}/bin:$PATH"\n')
        self.assertEqual(self.install(f"{self.prefix}/bin:{SYSTEM_PATH}"),
                         f"Installed orvane in {self.prefix}.\n")

    def test_files_of_an_older_version_go_and_others_stay(self):
        self.install()
        before = self.files()
        for name in ("include/Orvane/Old/Gone.h", "include/Orvane/Foreign.h"):
            path = self.prefix / name
            path.parent.mkdir(exist_ok=True)
            path.write_text("")
        with open(self.prefix / "share/orvane/installed-files.txt", "a", encoding="ascii") as listed:
            listed.write("include/Orvane/Old/Gone.h\n")
        self.install()
        self.assertEqual(self.files(), sorted([*before, "include/Orvane/Foreign.h"]))
        self.assertFalse((self.prefix / "include/Orvane/Old").exists())

    def test_removing_leaves_only_what_was_not_installed(self):
        self.install()
        (self.prefix / "bin/other").write_text("")
        done = self.run_script("--uninstall", str(self.prefix))
        self.assertEqual((done.returncode, done.stderr, done.stdout),
                         (0, "", f"Removed orvane from {self.prefix}.\n"))
        self.assertEqual(sorted(str(path.relative_to(self.prefix)) for path in self.prefix.rglob("*")),
                         ["bin", "bin/other"])
        self.assert_refused(self.run_script("--uninstall", str(self.prefix)),
                            r"Nothing was installed in .*a place: there is no .*\.")

    def test_a_list_that_leads_elsewhere_is_refused(self):
        self.install()
        victim = self.folder / "victim"
        victim.write_text("")
        (self.prefix / "share/orvane/installed-files.txt").write_text("bin/../../victim\n")
        self.assert_refused(self.run_script("--uninstall", str(self.prefix)),
                            r"\S.* is not valid: 'bin/\.\./\.\./victim' lies outside of .*\.")
        self.assertTrue(victim.exists())

    def test_wrong_arguments_are_refused_before_anything_is_written(self):
        for arguments, text in (
            (("--unknown",), r"There is no option '--unknown'; usage: .*"),
            (("a", "b"), r"One folder is enough, not also 'b'\."),
            (("--build",), r"--build needs a folder\."),
            (("--build", "nothing", "a"), r"There is no build in nothing; run 'make build' first\."),
            (("--build", BUILD, "/"), r"The folder / is refused; .*"),
            (("--build", BUILD, "/proc/none"), r"/proc/none cannot be written; choose another folder .*"),
        ):
            with self.subTest(arguments=arguments):
                self.assert_refused(self.run_script(*arguments), text)
        self.assert_refused(self.run_script("--build", BUILD, "a", DESTDIR="d"), r"DESTDIR is for packages: .*")
        self.assertEqual(os.listdir(self.folder), [])

    def test_links_among_installed_documents_lead_to_files(self):
        self.install()
        folder = self.prefix / "share/doc/orvane"
        for document in folder.glob("*.md"):
            for target in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", document.read_text(encoding="utf-8")):
                if not target.startswith("..") and "/" not in target:
                    with self.subTest(document=document.name, target=target):
                        self.assertTrue((folder / target).exists())


if __name__ == "__main__":
    unittest.main()
