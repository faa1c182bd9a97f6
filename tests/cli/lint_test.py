"""Runs `orvane lint` from outside: exit status, limits, JSON, SARIF, files that cannot be read."""

import gzip
import json
import shlex
import subprocess
import sys
import time
import unittest

from cli_test import PROGRAM, CliTest

TABLE = "lon,lat,depth\n8.5,47.4,5\n7.4,46.9,6\n7.5,46.8,7\n7.6,46.7,8\n"


class LintRunTest(CliTest):
    def lint(self, content, *arguments, name="a.csv", status=1):
        self.write(name, content)
        result = self.run_orvane("lint", name, *arguments)
        self.assertEqual((result.status, result.err), (status, ""), result.out[:2000])
        return result


class LintTest(LintRunTest):
    def findings(self, content, *arguments, **keywords):
        return self.lint(content, "--json", *arguments, **keywords).json["findings"]

    def places(self, content, code, *arguments, **keywords):
        """Line, character, byte, column and text of the findings with that code."""
        return [tuple(finding[key] for key in ("line", "character", "byte", "column", "text"))
                for finding in self.findings(content, *arguments, **keywords)
                if finding["code"] == code]

    def test_a_clean_file_has_no_finding(self):
        result = self.lint(TABLE, status=0)
        self.assertEqual(result.out, "a.csv: nothing found\n")
        self.assert_folder("a.csv")

    def test_notes_alone_are_no_reason_to_fail(self):
        result = self.lint("lon,lat,n\n8.5,47.4,a\n\n7.4,46.9,b\n", status=0)
        self.assertRegex(result.out, r"(?m)^a\.csv:3:1: note: A blank line\. ")
        self.assertTrue(result.out.endswith("a.csv: 0 errors, 0 warnings, 1 note\n"))

    def test_warnings_and_errors_are(self):
        self.lint(TABLE + "7.7,46.6,\n")
        self.lint(TABLE + "7.7,46.6,1,2\n")

    def test_a_file_that_cannot_be_read_is_status_2(self):
        for arguments in ((), ("--json",), ("--sarif",), ("--all",)):
            result = self.run_orvane("lint", "none.csv", *arguments)
            self.assertEqual(result.status, 2)
            self.assertRegex(result.err, r"^orvane: none\.csv: [^\n]*\n$")
        self.assertFalse(self.run_orvane("lint", "none.csv", "--json").json["complete"])
        run, = self.run_orvane("lint", "none.csv", "--sarif").json["runs"]
        self.assertFalse(run["invocations"][0]["executionSuccessful"])
        self.assertEqual(self.run_orvane("lint", self.folder).status, 2)
        self.assertEqual(self.run_orvane("lint", "a.csv", "--json", "--sarif").status, 2)

    def test_a_damaged_archive_is_status_2(self):
        packed = gzip.compress((TABLE * 20000).encode())
        self.write("a.csv.gz", packed[:len(packed) // 2])
        result = self.run_orvane("lint", "a.csv.gz", "--json")
        self.assertEqual(result.status, 2)
        self.assertRegex(result.err, r"^orvane: a\.csv\.gz: [^\n]*\n$")
        self.assertFalse(result.json["complete"])

    def test_an_empty_file_has_no_finding_but_coordinates(self):
        for content in ("", "\n", "\n\n\n", "\x1a", "a"):
            result = self.run_orvane("lint", self.write("a.csv", content), "--json")
            self.assertIn(result.status, (0, 1), (content, result.err))
            self.assertTrue(result.json["complete"])

    def test_places_count_lines_characters_and_bytes(self):
        self.assertEqual(self.places(TABLE + "7.7,46.6,9.75\n", "late-decimal"),
                         [(6, 10, 67, 3, "9.75")])
        # After a line break and letters of several bytes, in the same row.
        row = 'n,lon,lat,depth\n' + 'a,8.5,47.4,1\n' * 5 + '"b\nZürich, é",8.6,47.5,9.75\n'
        byte = len(row.encode()) - len("9.75\n")
        self.assertEqual(self.places(row, "late-decimal"), [(8, 21, byte, 4, "9.75")])
        # In an encoding of one byte per letter, in UTF-16 and packed: bytes of the text.
        text = 'n,lon,lat,depth\n' + 'Zürich,8.5,47.4,1\n' * 5 + 'Zürich Höngg,8.6,47.5,9.75\n'
        for encoding in ("cp1252", "utf-8"):
            data = text.encode(encoding)
            self.assertEqual(self.places(data, "late-decimal"),
                             [(7, 23, len(data) - 5, 4, "9.75")], encoding)
        for data in (b"\xff\xfe" + text.encode("utf-16-le"), gzip.compress(text.encode())):
            self.assertEqual(self.places(data, "late-decimal"),
                             [(7, 23, len(text.encode()) - 5, 4, "9.75")])
            self.assertEqual(self.lint(data, "--json").json["positions"], "text")

    def test_bytes_count_the_byte_order_mark(self):
        data = b"\xef\xbb\xbf" + (TABLE + "7.7,46.6,9.75\n").encode()
        (place,) = self.places(data, "late-decimal")
        self.assertEqual(data[place[2]:place[2] + 4], b"9.75")

    def test_odd_bytes_are_found_where_they_stand(self):
        # Around the end of the pieces in which the file is read.
        for size in range(65536 - 6, 65536 + 6):
            line = b"8.5,47.4,%s\n"
            head = b"lon,lat,n\n"
            filler = b"x" * (size - len(head) - len(line) + 2)
            data = head + line % filler + b"8.6,47.5,a\x00\x00b\r\n8.7,47.6,c\n"
            self.assertEqual(self.places(data, "nul"), [(3, 11, size + 10, None, "")], size)
            self.assertEqual(self.places(data, "mixed-line-ends"), [(3, 14, size + 13, None, "CRLF")])

    def test_bytes_that_are_no_utf_8_are_counted_in_runs(self):
        data = ("lon,lat,n\n" + "8.5,47.4,Zürich Genève\n" * 100).encode() + b"8.6,47.5,a\xff\xfe\xc3b\n"
        self.assertEqual(self.places(data, "invalid-utf-8"), [(102, 11, len(data) - 5, None, "")])
        (finding,) = [f for f in self.findings(data) if f["code"] == "invalid-utf-8"]
        self.assertEqual(finding["message"], "3 bytes that are no UTF-8.")

    def test_letters_that_iso_8859_1_has_are_no_finding(self):
        words = ("évêque été forêt château hôtel rivière frère père mère fête tête près très après "
                 "île âge où déjà là garçon leçon français façade reçu créé musée lycée école élève "
                 "étage étoile").split()
        rows = "lon,lat,n\n" + "".join(f"8.5,47.4,{word} {n}\n" for n, word in enumerate(words))
        self.lint(rows.encode("cp1252"), status=0)
        data = (rows + "7.4,46.9,„Bern“\n").encode("cp1252")
        self.assertEqual([place[:3] for place in self.places(data, "encoding")],
                         [(len(words) + 2, 10, len(data) - 7),
                          (len(words) + 2, 15, len(data) - 2)])

    def test_names_in_quotes_over_two_lines_are_one_line_of_names(self):
        names = 'lon,lat,"depth\nin metres"\n'
        result = self.lint(names + "8.5,47.4,1.5\n7.4,46.9,2.5\n7.5,46.8,3.5\n", status=0)
        self.assertEqual(result.out, "a.csv: nothing found\n")

    def test_of_each_kind_twenty_are_shown(self):
        rows = 1000
        content = TABLE + "7.7,46.6,9.75\n" * rows + "7.7,46.6,\n" * 7
        answer = self.lint(content, "--json").json
        counts = {count["code"]: (count["count"], count["shown"]) for count in answer["counts"]}
        self.assertEqual(counts, {"late-decimal": (rows, 20), "gap": (7, 7)})
        self.assertEqual((answer["errors"], answer["warnings"], answer["notes"]), (0, rows + 7, 0))
        self.assertEqual(len(answer["findings"]), 27)
        everything = self.lint(content, "--json", "--all").json
        self.assertEqual(len(everything["findings"]), rows + 7)
        text = self.lint(content).out
        self.assertIn("    980 more of late-decimal; --all shows them\n", text)
        self.assertNotIn("more of", self.lint(content, "--all").out)

    def test_findings_of_places_come_in_the_order_of_the_file(self):
        content = TABLE + "".join(f"7.7,46.6,{i}.5\n7.7,46.6,\n7.7,46.6,1,\n\n" for i in range(100))
        lines = [finding["line"] for finding in self.findings(content, "--all") if finding["line"]]
        self.assertEqual(lines, sorted(lines))

    def test_memory_does_not_grow_with_the_findings(self):
        def peak(rows):
            with open(self.path("a.csv"), "w", encoding="ascii") as file:
                file.write(TABLE)
                for _ in range(rows // 1000):
                    file.write("7.7,46.6,9.75\n7.7,46.6,\n" * 500)
            # The measuring process is small: a child's peak counts its parent's pages.
            script = ("import resource, subprocess, sys; subprocess.run(sys.argv[1:], "
                      "stdout=subprocess.DEVNULL); "
                      "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)")
            done = subprocess.run([sys.executable, "-S", "-c", script, PROGRAM, "lint", "a.csv"],
                                  cwd=self.folder, capture_output=True, check=True, timeout=300)
            return int(done.stdout)
        few = peak(100000)
        many = peak(1000000)
        self.assertLess(many, few + 8 * 1024)

    def test_texts_of_the_file_are_no_commands_to_a_terminal(self):
        result = self.lint("lon,lat,depth\n8.5,47.4,5\n7.4,46.9,6\n7.5,46.8,7\n7.6,46.7,8\n"
                           "7.7,46.6,a\x1b[2Jb\n")
        self.assertIn(r"'a\x1B[2Jb'", result.out)
        self.assertNotIn("\x1b", result.out)

    def test_a_line_past_16_mib_is_listed(self):
        content = TABLE + "7.7,46.6," + "9" * (17 << 20) + "\n7.8,46.5,3\n"
        places = self.places(content, "line-too-long")
        self.assertEqual([place[:3] for place in places], [(6, 1, 58)])

    def test_values_out_of_range_are_listed(self):
        rows = "".join(f"{i % 50}.5,{i % 40}.5,{i}\n" for i in range(300))
        content = "lon,lat,n\n" + rows + "8.5,95.5,1\n400,47,2\n0,0,3\n"
        self.assertEqual([place[:2] for place in self.places(content, "out-of-range")],
                         [(302, 5), (303, 1)])
        self.assertEqual([place[:2] for place in self.places(content, "zero-point")], [(304, 1)])

    def test_many_quotes_cost_little(self):
        content = "lon,lat,n\n" + "8.5,47.4," + '"' * 200000 + "\n" + '7.4,46.9,"\n' * 20000
        self.write("a.csv", content)
        began = time.monotonic()
        result = self.run_orvane("lint", "a.csv")
        self.assertIn(result.status, (0, 1))
        self.assertLess(time.monotonic() - began, 60)


    def test_types_that_are_given_stand_in_its_commands(self):
        self.write("a.csv", 'lon,lat,at,big,day,n\n8.5,47.25,2019-02-03T01:02:03,1,03/04/2018,"1,234"\n'
                            '7.5,46.75,late,2,05/04/2018,"7,1"\n')
        types = ["--type", "at=datetime", "--type", "big=long", "--type", "day=date:month-first", "--type",
                 "n=double:thousands-comma"]
        result = self.run_orvane("lint", "a.csv", "--json", *types)
        command = next(finding for finding in json.loads(result.out)["findings"] if finding["fixes"])["fixes"][0]
        self.assertTrue(command.startswith(f"orvane import a.csv {' '.join(types)}"), command)
        done = subprocess.run([PROGRAM, *shlex.split(command)[1:], "--on-bad", "skip"], cwd=self.folder,
                              capture_output=True, text=True, check=False)
        self.assertNotEqual(done.returncode, 2, done.stderr)


class LintSarifTest(LintRunTest):
    """The parts of SARIF 2.1.0 that its schema requires, checked one by one."""

    CONTENT = ("lon,lat,depth,depth\n8.5,47.4,5,a\n7.4,46.9,6,b\n7.5,46.8,7,c\n7.6,46.7,8,d\n"
               "7.7,46.6,9.75,e\n7.8,46.5,,f\n7.8,46.5,1,f,g\n")

    def log(self, content=CONTENT, **keywords):
        return self.lint(content, "--sarif", **keywords).json

    def check_message(self, message):
        self.assertIsInstance(message["text"], str)
        self.assertTrue(message["text"])

    def test_it_is_a_log_of_one_run(self):
        log = self.log()
        self.assertEqual(set(log), {"$schema", "version", "runs"})
        self.assertEqual(log["version"], "2.1.0")
        self.assertEqual(log["$schema"], "https://json.schemastore.org/sarif-2.1.0.json")
        run, = log["runs"]
        self.assertEqual(run["columnKind"], "unicodeCodePoints")
        driver = run["tool"]["driver"]
        self.assertEqual(driver["name"], "orvane")
        self.assertRegex(driver["semanticVersion"], r"^\d+\.\d+\.\d+$")
        names = [rule["id"] for rule in driver["rules"]]
        self.assertEqual(len(names), len(set(names)))
        for rule in driver["rules"]:
            self.assertRegex(rule["id"], r"^[a-z0-9-]+$")
            self.check_message(rule["shortDescription"])
            self.check_message(rule["fullDescription"])
            self.assertIn(rule["defaultConfiguration"]["level"], ("note", "warning", "error"))
        self.assertEqual(run["invocations"], [{"executionSuccessful": True}])

    def test_every_result_names_its_rule_and_its_place(self):
        run, = self.log()["runs"]
        rules = run["tool"]["driver"]["rules"]
        self.assertEqual([result["ruleId"] for result in run["results"]],
                         ["duplicate-name", "late-decimal", "gap", "long-row"])
        data = self.CONTENT.encode()
        for result in run["results"]:
            self.assertEqual(rules[result["ruleIndex"]]["id"], result["ruleId"])
            self.assertIn(result["level"], ("note", "warning", "error"))
            self.check_message(result["message"])
            location, = result["locations"]
            physical = location["physicalLocation"]
            self.assertEqual(physical["artifactLocation"]["uri"], "a.csv")
            region = physical["region"]
            self.assertGreaterEqual(region["startLine"], 1)
            self.assertGreaterEqual(region.get("startColumn", 1), 1)
            self.assertLess(region["byteOffset"], len(data))
            line = data[:region["byteOffset"]].count(b"\n") + 1
            self.assertEqual(line, region["startLine"])
            self.assertIsInstance(region["snippet"]["text"], str)
        decimal = run["results"][1]["locations"][0]["physicalLocation"]["region"]
        self.assertEqual((decimal["startLine"], decimal["startColumn"]), (6, 10))
        self.assertEqual(data[decimal["byteOffset"]:][:4], b"9.75")

    def test_a_finding_about_the_whole_file_has_no_region(self):
        run, = self.log("lon;lat\n8.5;47.4\n7.5;46.4\n")["runs"]
        physical = run["results"][0]["locations"][0]["physicalLocation"]
        self.assertEqual(physical, {"artifactLocation": {"uri": "a.csv"}})

    def test_bytes_are_left_out_where_they_are_not_those_of_the_file(self):
        run, = self.log(gzip.compress(self.CONTENT.encode()))["runs"]
        for result in run["results"]:
            region = result["locations"][0]["physicalLocation"].get("region", {})
            self.assertNotIn("byteOffset", region)

    def test_names_of_files_are_uris(self):
        run, = self.log(name="ä b#%.csv")["runs"]
        uris = {result["locations"][0]["physicalLocation"]["artifactLocation"]["uri"]
                for result in run["results"]}
        self.assertEqual(uris, {"%C3%A4%20b%23%25.csv"})


if __name__ == "__main__":
    unittest.main()
