"""Runs scripts/lint in small repositories, with programs that only print what they should check.

ORVANE_SOURCE names the source tree.
"""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SCRIPT = pathlib.Path(os.environ["ORVANE_SOURCE"]) / "scripts/lint"

FILES = {
    "sdk/src/BText.cpp": "", "sdk/include/Orvane/BText.h": "", "sdk/include/Orvane/Plain.h": "",
    "plugin/text/Split.cpp": "#include \"text/Split.h\"\n", "plugin/text/Split.h": "",
    "cli/main.cpp": "#include <Orvane/BText.h>\n", "tests/unit/TextTest.cpp": "#include <Orvane/Plain.h>\n",
    "docs/text.md": "",
}


class LintTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="orvane-lint-"))
        self.addCleanup(shutil.rmtree, self.folder, True)
        self.tree = self.folder / "tree"
        tools = self.folder / "tools"
        tools.mkdir()
        for name, body in (("clang-format-14", ""), ("cmake", ""),
                           ("clang-tidy-14", f'printf "%s\\n" "$@" | grep cpp >>{self.folder}/checked')):
            (tools / name).write_text(f"#!/bin/sh\n{body}\n")
            (tools / name).chmod(0o755)
        self.environment = {
            "PATH": f"{tools}:{os.environ['PATH']}", "HOME": str(self.folder), "GIT_CONFIG_NOSYSTEM": "1",
            "GIT_AUTHOR_NAME": "a", "GIT_AUTHOR_EMAIL": "a@b", "GIT_COMMITTER_NAME": "a",
            "GIT_COMMITTER_EMAIL": "a@b"}
        for name, content in FILES.items():
            self.write(name, content)
        (self.tree / "scripts").mkdir()
        shutil.copy(SCRIPT, self.tree / "scripts/lint")
        self.git("init", "-q", "-b", "main")
        self.commit()

    def write(self, name, content):
        path = self.tree / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(content)

    def git(self, *arguments):
        subprocess.run(["git", *arguments], cwd=self.tree, env=self.environment, check=True, timeout=60)

    def commit(self):
        self.git("add", "-A")
        self.git("commit", "-q", "-m", "state")

    def checked(self, part):
        log = self.folder / "checked"
        log.unlink(missing_ok=True)
        subprocess.run(["scripts/lint", part], cwd=self.tree, env=self.environment, check=True, timeout=60,
                       stdout=subprocess.DEVNULL)
        return sorted(log.read_text().split()) if log.exists() else []

    PRODUCT = ["cli/main.cpp", "plugin/text/Split.cpp", "sdk/src/BText.cpp"]

    def test_the_product_and_everything(self):
        self.assertEqual(self.checked("product"), self.PRODUCT)
        self.assertEqual(self.checked("all"), sorted([*self.PRODUCT, "tests/unit/TextTest.cpp"]))

    def test_without_a_difference_the_product_is_checked(self):
        self.assertEqual(self.checked("changed"), self.PRODUCT)
        self.git("checkout", "-q", "--detach")
        self.git("branch", "-q", "-D", "main")
        self.assertEqual(self.checked("changed"), self.PRODUCT)

    def test_changes_are_those_since_the_branch_began_committed_or_not(self):
        self.git("checkout", "-q", "-b", "work")
        self.write("cli/main.cpp", "int a;\n")
        self.commit()
        self.git("checkout", "-q", "main")
        self.write("sdk/src/BText.cpp", "int b;\n")
        self.commit()
        self.git("checkout", "-q", "work")
        self.assertEqual(self.checked("changed"), ["cli/main.cpp"])
        self.write("plugin/text/Split.cpp", "int c;\n")
        self.write("cli/New.cpp", "")
        self.assertEqual(self.checked("changed"), ["cli/New.cpp", "cli/main.cpp", "plugin/text/Split.cpp"])

    def test_a_header_is_checked_with_its_source_or_one_that_includes_it(self):
        self.git("checkout", "-q", "-b", "work")
        for name, source in (("plugin/text/Split.h", "plugin/text/Split.cpp"),
                             ("sdk/include/Orvane/BText.h", "cli/main.cpp"),
                             ("sdk/include/Orvane/Plain.h", "tests/unit/TextTest.cpp")):
            with self.subTest(header=name):
                self.write(name, "int a;\n")
                self.assertEqual(self.checked("changed"), [source])
                self.git("checkout", "-q", ".")

    def test_what_is_gone_and_what_is_no_source_needs_no_check(self):
        self.git("checkout", "-q", "-b", "work")
        (self.tree / "cli/main.cpp").unlink()
        self.write("docs/text.md", "more\n")
        self.commit()
        self.assertEqual(self.checked("changed"), [])

    def test_an_unknown_part_is_refused(self):
        done = subprocess.run(["scripts/lint", "some"], cwd=self.tree, env=self.environment,
                              capture_output=True, text=True, timeout=60, check=False)
        self.assertEqual(
            (done.returncode, done.stdout, done.stderr),
            (2, "", "lint: there is no part 'some'; usage: scripts/lint [changed|product|all]\n"))


if __name__ == "__main__":
    unittest.main()
