"""Checks the documents against the program, the sources and the tree.

ORVANE names the built program, ORVANE_BUILD the build folder, ORVANE_SOURCE the source tree.
"""

import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import tempfile
import unittest

PROGRAM = os.environ["ORVANE"]
SOURCE = pathlib.Path(os.environ["ORVANE_SOURCE"])
DOCS = SOURCE / "docs"


def table_rows(path):
    """The rows of all tables of a document, as (heading cells, cells)."""
    heading = None
    for line in path.read_text(encoding="utf-8").splitlines():
        if not line.startswith("|"):
            heading = None
            continue
        cells = [cell.strip() for cell in re.split(r"(?<!\\)\|", line)[1:-1]]
        if heading is None:
            heading = cells
        elif not all(re.fullmatch(r":?-+:?", cell) for cell in cells):
            yield heading, cells


def code(cell):
    """The first code span of a cell with the table's escape undone; None without one."""
    match = re.search(r"`([^`]*)`", cell)
    return match and match.group(1).replace(r"\|", "|")


def codes(cell):
    return [text.replace(r"\|", "|") for text in re.findall(r"`([^`]*)`", cell)]


def run(*arguments):
    return subprocess.run([PROGRAM, *arguments], capture_output=True, timeout=60)


def sample_bytes(text):
    """The bytes of a sample: \\n, \\r, \\t, \\\\ and \\xNN are escapes, all else is UTF-8."""
    escapes = {"n": b"\n", "r": b"\r", "t": b"\t", "\\": b"\\"}
    result = b""
    for plain, escape in re.findall(r"([^\\]+)|\\(x[0-9a-fA-F]{2}|.)", text):
        if plain:
            result += plain.encode("utf-8")
        elif escape[0] == "x":
            result += bytes([int(escape[1:], 16)])
        else:
            result += escapes[escape]
    return result


class InputRules(unittest.TestCase):
    def rows(self):
        for heading, cells in table_rows(DOCS / "input-rules.md"):
            if "Sample" in heading:
                self.assertEqual(len(cells), 5, cells)
                yield cells

    def read(self, sample, options):
        extension = re.match(r"\.\w+", options)
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / ("sample" + (extension[0] if extension else ".csv"))
            path.write_bytes(sample_bytes(sample))
            arguments = []
            for option in codes(options):
                arguments += ["--option", option]
            done = run("read", str(path), *arguments, "--json")
            return json.loads(done.stdout)

    @staticmethod
    def features(layer, has_point):
        rows = []
        for feature in layer["features"]:
            row = [feature["geometry"]] if has_point else []
            rows.append(row + [value for _, _, value in feature["attributes"]])
        return rows

    def check(self, sample, options, expected):
        answer = self.read(sample, options)
        kind, _, rest = expected.partition(" ")
        if kind == "error:":
            self.assertFalse(answer["ok"])
            name, _, text = rest.partition(" ")
            self.assertEqual(answer["exception"], name)
            pattern = ".*".join(re.escape(part) for part in text.split("..."))
            self.assertRegex(answer["message"], "^" + pattern)
            return
        self.assertTrue(answer["ok"], answer)
        layer = answer["layer"]
        if kind == "schema:":
            columns = [f"{column['name']} {column['type']}" for column in layer["schema"]]
            self.assertEqual(", ".join(columns), rest)
        elif kind == "names:":
            self.assertEqual([feature["name"] for feature in layer["features"]], json.loads(rest))
        else:
            # As texts: true is not 1, and NaN is NaN.
            actual = self.features(layer, "`X_COLUMN=" in options)
            self.assertEqual(json.dumps(actual), json.dumps(json.loads(expected)))

    def test_every_sample_gives_its_result(self):
        checked = 0
        for treated, _, sample, options, result in self.rows():
            if not result.startswith("`"):
                continue
            with self.subTest(input=treated):
                self.check(code(sample), options, code(result))
            checked += 1
        self.assertGreater(checked, 80)


class Options(unittest.TestCase):
    def test_the_table_is_the_programs_table(self):
        lines = run("options").stdout.decode("utf-8").splitlines()
        self.assertRegex(lines[0], r"^OPTION +TYPE +MEANING$")
        listed = [tuple(re.split(r" {2,}", line.strip(), maxsplit=2)[:2]) for line in lines[1:]]
        documented = []
        for heading, cells in table_rows(DOCS / "options.md"):
            if heading[0] == "Option":
                self.assertEqual(heading, ["Option", "Type", "Default", "Meaning"])
                self.assertTrue(all(cells), cells)
                documented.append((code(cells[0]), cells[1]))
        self.assertEqual(sorted(documented), sorted(listed))


LITERAL = r'"(?:[^"\\\n]|\\.)*"'
COMMENT = r"//[^\n]*"


def source_files():
    for folder in ("plugin", "sdk/src"):
        for path in sorted((SOURCE / folder).rglob("*")):
            if path.suffix in (".cpp", ".h"):
                # Comments go, literals stay.
                text = path.read_text(encoding="utf-8")
                yield path, re.sub(
                    rf"({LITERAL})|{COMMENT}", lambda match: match.group(1) or "", text
                )


def joined_literals(text):
    """The texts of a piece of code; adjacent literals are one text."""
    return [
        "".join(part[1:-1] for part in re.findall(LITERAL, run_of_literals))
        for run_of_literals in re.findall(rf"{LITERAL}(?:\s*{LITERAL})*", text)
    ]


def named_texts(source):
    """Constants and locals that hold one text or a choice of texts."""
    pattern = rf"char\s*\*\s*(?:const\s+)?(\w+)\s*=\s*([^;]*?{LITERAL}[^;]*);"
    return {name: joined_literals(value) for name, value in re.findall(pattern, source)}


def thrown_texts():
    """(file, texts) of every place that makes an exception."""
    for path, source in source_files():
        names = named_texts(source)
        made = r"(?:throw\s+[\w:]+|return\s+(?:Orvane::)?B\w*Exception)"
        pattern = rf"{made}\(((?:[^;\"]|{LITERAL})*)\);"
        for arguments in re.findall(pattern, source):
            texts = joined_literals(arguments)
            for word in re.findall(r"\b\w+\b", re.sub(LITERAL, "", arguments)):
                texts += names.get(word, [])
            yield path, texts


class Errors(unittest.TestCase):
    def setUp(self):
        self.documented = set()
        for heading, cells in table_rows(DOCS / "errors.md"):
            if heading[0] == "Class":
                self.assertEqual(
                    heading, ["Class", "First text", "Second text", "Details", "When"]
                )
                for cell in cells[1:4]:
                    self.documented.update(codes(cell))

    def test_every_thrown_text_is_documented(self):
        count = 0
        for path, texts in thrown_texts():
            for text in texts:
                count += 1
                with self.subTest(file=path.name, text=text):
                    self.assertTrue(text in self.documented, "not in docs/errors.md")
        self.assertGreater(count, 40)

    def test_the_codes_of_the_import_library_are_those_of_its_header(self):
        documented = {
            code(cells[0]): cells[1]
            for heading, cells in table_rows(DOCS / "errors.md") if heading[0] == "Code"
        }
        kinds = {}
        kind = None
        header = SOURCE / "import/include/Orvane/Import/Failure.h"
        for line in header.read_text(encoding="utf-8").splitlines():
            if match := re.fullmatch(r"///     (\w+)", line):
                kind = match.group(1)
            elif kind and (match := re.match(r"///         ([a-z-]+) {2,}", line)):
                kinds[match.group(1)] = kind
        self.assertGreater(len(kinds), 40)
        # The command line's own: no failure of the library is about memory.
        self.assertEqual(set(documented), {*kinds, "memory"})
        for name, kind in kinds.items():
            if kind != "Request":
                self.assertEqual(documented[name], "1", name)

    def test_every_code_of_the_import_library_is_given_in_its_sources(self):
        header = (SOURCE / "import/include/Orvane/Import/Failure.h").read_text(encoding="utf-8")
        sources = "".join(
            path.read_text(encoding="utf-8")
            for folder in ("import/src", "export/src") for path in (SOURCE / folder).rglob("*.cpp"))
        for name in re.findall(r"^///         ([a-z-]+) {2,}", header, re.MULTILINE):
            if name != "internal":
                with self.subTest(code=name):
                    self.assertIn(f'"{name}"', sources)

    def test_every_documented_text_is_in_the_sources(self):
        present = set()
        for _, source in source_files():
            present.update(joined_literals(source))
        for text in sorted(self.documented):
            with self.subTest(text=text):
                self.assertTrue(text in present, "no such text in plugin or sdk/src")


def documents():
    names = ["README.md", "CONTRIBUTING.md", "CHANGELOG.md", "examples/README.md", "bench/README.md"]
    return [SOURCE / name for name in names] + sorted(DOCS.glob("*.md"))


class Tree(unittest.TestCase):
    def test_links_lead_to_files(self):
        for document in documents():
            text = document.read_text(encoding="utf-8")
            for target in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", text):
                with self.subTest(document=document.name, target=target):
                    self.assertTrue((document.parent / target).exists())

    def test_make_targets_exist(self):
        makefile = (SOURCE / "Makefile").read_text(encoding="utf-8")
        targets = set(re.findall(r"^([a-z]+):", makefile, re.MULTILINE))
        for document in documents():
            text = document.read_text(encoding="utf-8")
            for target in re.findall(r"^ +make ([a-z]+)|`make ([a-z]+)", text, re.MULTILINE):
                with self.subTest(document=document.name, target=target):
                    self.assertIn("".join(target), targets)

    def test_the_table_of_folders_is_whole(self):
        documented = [code(cells[0]) for heading, cells in table_rows(SOURCE / "README.md")
                      if heading[0] == "Folder"]
        present = {path.name for path in SOURCE.iterdir() if path.is_dir()}
        # Not of the project: what version control, builds and Python leave.
        present -= {".git", ".github", ".vscode", ".idea", ".cache", "build", "__pycache__"}
        self.assertEqual(sorted(documented), sorted(present))


class Plans(unittest.TestCase):
    def test_the_plan_of_the_document_is_what_the_program_prints(self):
        text = (DOCS / "plan.md").read_text(encoding="utf-8")
        shown = re.findall(r"```console\n\$ orvane (.*)\n((?:.*\n)*?)```", text)
        self.assertEqual(len(shown), 1)
        command, expected = shown[0]
        done = subprocess.run([PROGRAM, *command.split()], cwd=SOURCE / "examples/data",
                              capture_output=True, timeout=60, check=True)
        self.assertEqual(re.sub(r"(?m) +$", "", done.stdout.decode("utf-8")), expected)

    def test_the_keys_of_the_plan_are_documented(self):
        documented = [code(cells[0]) for heading, cells in table_rows(DOCS / "plan.md")
                      if heading[0] == "Key"]
        data = SOURCE / "examples/data/earthquakes.csv"
        plan = json.loads(run("plan", str(data), "--json").stdout)
        self.assertEqual(list(plan), documented)


class Lint(unittest.TestCase):
    def rows(self):
        for heading, cells in table_rows(DOCS / "lint.md"):
            if heading[0] == "Code":
                self.assertEqual(
                    heading, ["Code", "Severity", "What it is", "Sample", "Finding", "Fix"])
                yield cells

    def lint(self, sample, options=""):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "sample.csv").write_bytes(sample)
            done = subprocess.run([PROGRAM, "lint", "sample.csv", "--json", *options.split()],
                                  cwd=folder, capture_output=True, timeout=60, check=False)
            self.assertIn(done.returncode, (0, 1), done.stderr)
            return json.loads(done.stdout)

    def samples(self):
        """Code, bytes, options, finding and commands of the rows that have a sample."""
        for name, _, _, sample, finding, fixes in self.rows():
            if sample:
                content, options = (codes(sample) + [""])[:2]
                yield code(name), sample_bytes(content), options, finding.replace(r"\|", "|"), codes(fixes)

    def test_the_codes_are_those_of_the_program(self):
        data = SOURCE / "examples/data/earthquakes.csv"
        rules = json.loads(run("lint", str(data), "--sarif").stdout)["runs"][0]["tool"]["driver"]["rules"]
        expected = [[rule["id"], rule["defaultConfiguration"]["level"], rule["shortDescription"]["text"]]
                    for rule in rules]
        documented = [[code(cells[0]), cells[1], cells[2].replace(r"\|", "|")] for cells in self.rows()]
        self.assertEqual(documented, expected)

    def test_every_code_of_a_plan_is_documented(self):
        documented = {code(cells[0]) for cells in self.rows()}
        # What lint finds under another name, row by row.
        documented |= {"axes-swapped", "zero-coordinates", "latitude-out-of-range",
                       "longitude-out-of-range", "misfit-row", "nul-block"}
        found = set()
        for path in (SOURCE / "import/src/plan").glob("*.cpp"):
            text = path.read_text(encoding="utf-8")
            found.update(re.findall(r'(?:AddFinding\(\s*plan|addCount\(|findings\.push_back\(\s*\{)[,\s]*"([a-z0-9-]+)"', text))
        self.assertGreater(len(found), 10)
        self.assertEqual(found - documented, set())

    def test_every_sample_gives_its_finding(self):
        checked = 0
        for name, sample, options, expected, fixes in self.samples():
            with self.subTest(code=name):
                found = self.lint(sample, options)
                hits = [finding for finding in found["findings"] if finding["code"] == name]
                self.assertTrue(hits, found)
                first = hits[0]
                place = ":".join(str(first[key]) for key in ("line", "character") if first[key])
                text = f"{place} {first['message']} The bare reader {first['bareReader']}."
                self.assertEqual(expected, text.strip())
                self.assertEqual(fixes, first["fixes"])
            checked += 1
        self.assertGreater(checked, 50)

    def test_every_command_works_as_printed(self):
        path = f"{pathlib.Path(PROGRAM).parent}:{os.environ['PATH']}"
        for name, sample, _, _, fixes in self.samples():
            for fix in fixes:
                with self.subTest(code=name, fix=fix), tempfile.TemporaryDirectory() as folder:
                    pathlib.Path(folder, "sample.csv").write_bytes(sample)
                    done = subprocess.run(
                        ["bash", "-c", fix], cwd=folder, capture_output=True, timeout=60,
                        env={**os.environ, "PATH": path}, check=False)
                    # No format holds a NUL: the import says so, and its status is 1.
                    self.assertEqual(done.returncode, 1 if name == "nul" else 0, done.stderr)
                    self.assertTrue(list(pathlib.Path(folder).glob("*.gpkg")))

    def test_the_tour_is_what_the_program_prints(self):
        text = (DOCS / "lint.md").read_text(encoding="utf-8")
        content, command, expected = re.search(
            r"\$ cat stations\.csv\n((?:.*\n)*?)\$ orvane (.*)\n((?:.*\n)*?)```", text).groups()
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "stations.csv").write_text(content, encoding="utf-8")
            done = subprocess.run([PROGRAM, *command.split()], cwd=folder, capture_output=True,
                                  timeout=60, check=False)
        self.assertEqual((done.returncode, done.stdout.decode("utf-8")), (1, expected))

    def test_the_keys_are_documented(self):
        documented = [code(cells[0]) for heading, cells in table_rows(DOCS / "lint.md")
                      if heading[0] == "Key"]
        self.assertEqual(list(self.lint(b"x,y\n1.5,2.5\n")), documented)


class Reports(unittest.TestCase):
    def test_the_keys_of_an_import_are_documented(self):
        documented = [key for heading, cells in table_rows(DOCS / "importing.md") if heading[0] == "Key"
                      for key in codes(cells[0])]
        with tempfile.TemporaryDirectory() as folder:
            out = str(pathlib.Path(folder) / "out.gpkg")
            done = run("import", str(SOURCE / "examples/data/earthquakes.csv"), out, "--json")
        self.assertEqual(sorted(json.loads(done.stdout)), sorted(documented))

    def test_the_arguments_of_decisions_are_those_of_the_command(self):
        shown = run("import", "--help").stdout.decode("utf-8")
        text = (DOCS / "importing.md").read_text(encoding="utf-8")
        for name in set(re.findall(r"--[a-z]+(?:-[a-z]+)*", text)):
            with self.subTest(name=name):
                self.assertIn(name, shown)


class Samples(unittest.TestCase):
    """The code of a page stands, line by line, in a source that is compiled and run."""

    SOURCES = {"sdk.md": "tests/docs/sdk_samples.cpp", "plugin.md": "examples/plugin/MarksReader.cpp"}

    def test_every_sample_is_compiled(self):
        for page, source in self.SOURCES.items():
            compiled = (SOURCE / source).read_text(encoding="utf-8")
            samples = re.findall(r"```cpp\n(.*?)```", (DOCS / page).read_text(encoding="utf-8"), re.DOTALL)
            self.assertGreater(len(samples), 4)
            for sample in samples:
                with self.subTest(page=page, sample=sample):
                    self.assertTrue("\n" + sample in compiled, f"not in {source}")

    def test_the_build_of_the_plugin_is_as_the_page_says(self):
        pattern = r"add_library\(.*\)|target_link_libraries\(.*\)|find_package\(.*\)"
        page = (DOCS / "plugin.md").read_text(encoding="utf-8")
        built = (SOURCE / "examples/plugin/CMakeLists.txt").read_text(encoding="utf-8")
        self.assertEqual(sorted(re.findall(pattern, page)), sorted(re.findall(pattern, built)))


class Tour(unittest.TestCase):
    """The console blocks of the README and of docs/importing.md, typed as printed by somebody whose PATH has the program."""

    def tours(self):
        tours = []
        for page in (SOURCE / "README.md", DOCS / "importing.md"):
            found = re.findall(r"```console\n(.*?)```", page.read_text(encoding="utf-8"), re.DOTALL)
            self.assertTrue(found, page)
            tours += found
        return tours

    def session(self, tour, home, path):
        """What a terminal shows of the tour's commands, in a copy of the examples."""
        clone = home / "orvane"
        shutil.copytree(SOURCE / "examples", clone / "examples", ignore=shutil.ignore_patterns("*.gpkg"))
        commands = re.findall(r"^\$ (.*)$", tour, re.MULTILINE)
        self.assertTrue(commands)
        script = "".join(f"printf '$ %s\\n' {shlex.quote(command)}\n{command}\n" for command in commands)
        done = subprocess.run(
            ["bash", "-c", script], cwd=clone, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60,
            env={**os.environ, "PATH": f"{path}:{os.environ['PATH']}", "HOME": str(home)}, check=False)
        return done.stdout.decode("utf-8").replace(str(home), "/home/me")

    @staticmethod
    def without_times(text):
        # Times differ, and the document has no blanks at line ends.
        return re.sub(r"(?m) +$", "", re.sub(r"(?m)^Time: .*$", lambda line: re.sub(r"[\d.]+", "0", line[0]), text))

    def check(self, path):
        for tour in self.tours():
            with tempfile.TemporaryDirectory() as folder:
                shown = self.session(tour, pathlib.Path(folder).resolve(), path)
                self.assertEqual(self.without_times(shown), self.without_times(tour))

    def test_it_prints_what_the_readme_prints(self):
        self.check(pathlib.Path(PROGRAM).parent)

    def test_it_does_so_against_an_install(self):
        with tempfile.TemporaryDirectory() as prefix:
            subprocess.run([SOURCE / "scripts/install", "--build", os.environ["ORVANE_BUILD"], prefix],
                           stdout=subprocess.DEVNULL, check=True, timeout=60)
            self.check(pathlib.Path(prefix) / "bin")


if __name__ == "__main__":
    unittest.main()
