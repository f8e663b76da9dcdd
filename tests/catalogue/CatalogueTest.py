#!/usr/bin/env python3
"""What the catalogue program reports, on trees of every kind.

Usage: CatalogueTest.py PROGRAM [TEST...]
"""

import collections
import csv
import io
import json
import os
import pty
import re
import resource
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import unittest

PROGRAM = None  # set by main()

# Compiled for the tests into the build folder, in which this script lies too.
LOCALES = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "locales")

ENVIRONMENT = {
    name: value for name, value in os.environ.items() if not name.endswith("TraceLevel")
} | {"LC_ALL": "C.UTF-8", "TZ": "UTC0"}

NOBODY = 65534
PATH_MAX = 4096  # with the zero at the end


def run(*arguments, env=None, program=None, **options):
    return subprocess.run(
        [program or PROGRAM, *arguments],
        env=ENVIRONMENT | (env or {}),
        capture_output=True,
        timeout=300,
        **options,
    )


class Entry(collections.namedtuple("Entry", "path kind bytes year")):
    """One line of find's, which follows links as the program does: the given one only."""

    @staticmethod
    def all_of(directory, **options):
        listed = subprocess.run(
            ["find", "-H", directory, "-printf", r"%p\0%y\0%s\0%TY\0"],
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            **options,
        ).stdout.split(b"\0")[:-1]
        rows = zip(listed[::4], listed[1::4], listed[2::4], listed[3::4])
        return [Entry(path, kind.decode(), int(size), int(year)) for path, kind, size, year in rows]


def what_find_counts(entries):
    files = [entry for entry in entries if entry.kind == "f"]
    directories = sum(entry.kind == "d" for entry in entries)
    return {
        "directories": directories,
        "regularFiles": len(files),
        "otherEntries": len(entries) - len(files) - directories,
        "bytes": sum(entry.bytes for entry in files),
    }


def what_find_dates(entries):
    years = collections.defaultdict(lambda: [0, 0])
    for entry in entries:
        if entry.kind == "f":
            years[entry.year][0] += 1
            years[entry.year][1] += entry.bytes
    return [{"year": y, "files": years[y][0], "bytes": years[y][1]} for y in sorted(years)]


def as_in_json(path):
    """The text that stands for a path's bytes: those that are no UTF-8 one by one."""
    return "".join(
        chr(ord(c) - 0xDC00) if 0xDC80 <= ord(c) <= 0xDCFF else c
        for c in path.decode("utf-8", "surrogateescape")
    )


def largest_that_find_sees(entries):
    files = sorted((e for e in entries if e.kind == "f"), key=lambda e: (-e.bytes, e.path))
    return [(as_in_json(e.path), e.bytes) for e in files[:10]]


class CatalogueTest(unittest.TestCase):
    def setUp(self):
        self.directory = os.fsencode(os.path.realpath(tempfile.mkdtemp(prefix="qvr-catalogue-")))
        self.addCleanup(self.remove, self.directory)
        self.tree = self.make_directory(b"tree")
        os.chmod(self.directory, 0o755)

    @staticmethod
    def remove(directory):
        # rmtree() would recurse too deep.
        subprocess.run(["chmod", "-R", "u+rwX", directory], check=True)
        subprocess.run(["rm", "-rf", directory], check=True)

    def place(self, name):
        return os.path.join(self.directory, name)

    def make_directory(self, name):
        os.makedirs(self.place(name))
        return self.place(name)

    def make_file(self, name, size=0, time=None):
        os.makedirs(os.path.dirname(self.place(name)), exist_ok=True)
        with open(self.place(name), "wb") as file:
            file.truncate(size)
        if time is not None:
            os.utime(self.place(name), (time, time))
        return self.place(name)

    def catalogue(self, directory, status=0, **options):
        """The parsed JSON, of a run that must end with this status."""
        result = run("--format=json", directory, **options)
        self.assertEqual(result.returncode, status, result)
        self.assertEqual(result.stderr, b"")
        return json.loads(result.stdout.decode("utf-8", "strict"))

    def assert_as_find(self, catalogue, entries):
        self.assertEqual(catalogue["totals"], what_find_counts(entries))
        self.assertEqual(catalogue["byYear"], what_find_dates(entries))
        largest = [(file["path"], file["bytes"]) for file in catalogue["largest"]]
        self.assertEqual(largest, largest_that_find_sees(entries))

    def unreadable(self, catalogue):
        return [(entry["path"], entry["error"]) for entry in catalogue["unreadable"]]

    def below_tree(self, *names):
        return [as_in_json(self.tree + b"/" + name) for name in names]

    def make_tree_of_every_kind(self):
        for number in range(12):
            self.make_file(b"tree/files/%d" % number, size=number * 1000)
        os.link(self.place(b"tree/files/7"), self.place(b"tree/files/second name of 7"))
        self.make_file(b"tree/.hidden/.file", 5)
        self.make_directory(b"tree/empty")
        self.make_directory(b"tree/.../..a")
        self.make_file(b"tree/50%/60%/one%", 61)
        foreign = (b"caf\xc3\xa9", b"caf\xe9", b"\xff\xfe", b"line\nbreak", b'"quoted", with comma')
        for name in foreign:
            self.make_file(b"tree/names/" + name + b"/" + name, 62)
        odd = (b" ", b"tab\t", b"*.*", b"C:", b"~", b"$HOME", b"'", b"\x01\x1b[2J", b"a" * 255)
        for name in odd:
            self.make_file(b"tree/names/" + name, 63)
        links = {
            b"dangling": b"nowhere",
            b"itself": b"itself",
            b"to a file": b"../files/11",
            b"to a directory": b"../files",
            b"cycle": b"..",
            b"absolute cycle": self.tree,
        }
        self.make_directory(b"tree/links")
        for name, target in links.items():
            os.symlink(target, self.place(b"tree/links/" + name))
        os.mkfifo(self.place(b"tree/pipe"))
        with socket.socket(socket.AF_UNIX) as listener:
            directory = os.open(self.tree, os.O_RDONLY)
            listener.bind(f"/proc/self/fd/{directory}/socket")
            os.close(directory)
        try:
            os.mknod(self.place(b"tree/device"), 0o600 | 0o020000, os.makedev(1, 3))
        except PermissionError:
            pass  # root makes devices, and not everywhere


class Counts(CatalogueTest):
    def test_usr_include_is_as_find_sees_it(self):
        entries = Entry.all_of(b"/usr/include", env=ENVIRONMENT)

        self.assert_as_find(self.catalogue(b"/usr/include"), entries)

    def test_tree_of_every_kind_is_as_find_sees_it(self):
        self.make_tree_of_every_kind()
        entries = Entry.all_of(self.tree, env=ENVIRONMENT)
        self.assertLessEqual(set("dflps"), {entry.kind for entry in entries})

        catalogue = self.catalogue(self.tree)

        self.assert_as_find(catalogue, entries)
        self.assertEqual(catalogue["unreadable"], [])

    def test_empty_directory_is_one_directory(self):
        catalogue = self.catalogue(self.tree)

        del catalogue["elapsedSeconds"]
        totals = {"directories": 1, "regularFiles": 0, "otherEntries": 0, "bytes": 0}
        self.assertEqual(
            catalogue, {"totals": totals, "byYear": [], "largest": [], "unreadable": []}
        )

    def test_current_directory_is_taken_where_none_is_given(self):
        self.make_file(b"tree/deep/file", 7)

        given = json.loads(run("--format=json", ".", cwd=self.tree).stdout)
        taken = json.loads(run("--format=json", cwd=self.tree).stdout)

        self.assertEqual(taken["largest"][0]["path"], "./deep/file")
        del given["elapsedSeconds"], taken["elapsedSeconds"]
        self.assertEqual(taken, given)

    def test_given_link_is_entered(self):
        self.make_tree_of_every_kind()
        link = self.place(b"link")
        os.symlink(self.tree, link)

        for spelling in (link, link + b"/", link + b"/."):
            entries = Entry.all_of(spelling, env=ENVIRONMENT)
            self.assert_as_find(self.catalogue(spelling), entries)

    def test_sizes_beyond_32_bits_are_whole(self):
        size = 5 * 2**30 + 1
        self.make_file(b"tree/sparse", size)

        catalogue = self.catalogue(self.tree)

        self.assertEqual(catalogue["totals"]["bytes"], size)
        self.assertEqual(catalogue["largest"][0]["bytes"], size)

    def test_equal_sizes_come_in_the_byte_order_of_their_paths(self):
        names = [b"Z", b"a", b"a b", b"a/b", b"a!", b"\xc3\xa9", b"\xff", b"aa", b"b", b"c", b"d"]
        for name in names:
            self.make_file(b"tree/order/" + name.replace(b"a/", b"dir/"), 100)

        paths = [file["path"] for file in self.catalogue(self.tree)["largest"]]

        found = sorted(n.replace(b"a/", b"dir/") for n in names)[:10]
        self.assertEqual(paths, self.below_tree(*(b"order/" + name for name in found)))


class Names(CatalogueTest):
    """Names that no path can hold are counted, listed and never followed astray."""

    def setUp(self):
        super().setUp()
        self.make_file(b"home/must not be counted", 10**6)
        self.home = {"HOME": self.place(b"home").decode()}

    def test_backslashes_are_reported(self):
        names = [b"\\", b"\\.", b"\\..", b"\\x", b"x\\", b"b\\c", b"\\\\", b"x\\y\\z"]
        for name in (b"x", b"b/c", b"x2/y/z"):
            self.make_file(b"tree/" + name, 1)
        for name in names:
            self.make_file(b"tree/" + name, 2)
        self.make_file(b"tree/d\\e/inner", 3)
        self.make_file(b"tree/d/e/inner", 4)

        catalogue = self.catalogue(self.tree, status=1, env=self.home)

        totals = {"directories": 7, "regularFiles": 12, "otherEntries": 0, "bytes": 7}
        self.assertEqual(catalogue["totals"], totals)
        expected = sorted(names + [b"d\\e"])
        self.assertEqual(
            self.unreadable(catalogue),
            [(path, "QVREInvalidName") for path in self.below_tree(*expected)],
        )

    def test_directory_whose_name_begins_with_a_backslash_is_not_taken_for_another(self):
        self.make_file(b"tree/d/inner", 1)
        self.make_file(b"tree/\\d/other", 2)
        os.symlink(b"..", self.place(b"tree/\\l"))

        catalogue = self.catalogue(self.tree, status=1)

        totals = {"directories": 3, "regularFiles": 1, "otherEntries": 1, "bytes": 1}
        self.assertEqual(catalogue["totals"], totals)

    def test_pairs_of_percent_signs_are_reported(self):
        for name in (b"%HOME%", b"a%b%c", b"%%", b"%1%2%3"):
            self.make_file(b"tree/" + name + b"/inner", 1)
            self.make_file(b"tree/files/" + name, 1)

        catalogue = self.catalogue(self.tree, status=1, env=self.home)

        totals = {"directories": 6, "regularFiles": 4, "otherEntries": 0, "bytes": 0}
        self.assertEqual(catalogue["totals"], totals)
        self.assertEqual(len(catalogue["unreadable"]), 8)
        for entry in catalogue["unreadable"]:
            self.assertEqual(entry["error"], "QVREInvalidName")
            self.assertRegex(entry["where"], r"^examples/catalogue/\w+\(\d+\)$")
            self.assertIn("percent", entry["what"])

    def test_lone_percent_signs_are_ordinary(self):
        self.make_file(b"tree/%/%/a%/%b", 9)
        self.make_file(b"tree/50% off", 8)

        catalogue = self.catalogue(self.tree, env=self.home)

        self.assert_as_find(catalogue, Entry.all_of(self.tree, env=ENVIRONMENT))

    def test_given_directory_that_no_path_can_name_is_reported(self):
        for name in (b"%HOME%", b"tree\\x"):
            self.make_file(name + b"/inner", 1)

            catalogue = self.catalogue(self.place(name), status=1, env=self.home)

            self.assertEqual(catalogue["totals"]["directories"], 1)
            self.assertEqual(catalogue["totals"]["regularFiles"], 0)
            path = as_in_json(self.place(name))
            self.assertEqual(self.unreadable(catalogue), [(path, "QVREInvalidName")])
            inside = json.loads(run("--format=json", cwd=self.place(name)).stdout)
            self.assertEqual(inside["totals"]["regularFiles"], 1)


class Reading(CatalogueTest):
    """What cannot be read, for somebody who is not root."""

    def setUp(self):
        super().setUp()
        self.asNobody = {}
        if os.geteuid() == 0:
            self.asNobody = {"user": NOBODY, "group": NOBODY, "extra_groups": []}

    def stage(self):
        """The program and its libraries, where anybody can run them."""
        stage = self.make_directory(b"stage").decode()
        loaded = subprocess.run(["ldd", PROGRAM], capture_output=True, text=True, check=True).stdout
        for library in re.findall(r"=> (\S+/lib(?:QVR|ZEL)\S+)", loaded):
            shutil.copy(library, stage)
        return shutil.copy(PROGRAM, stage), {"LD_LIBRARY_PATH": stage}

    def catalogue_without_rights(self, directory, status):
        program, libraries = self.stage()
        return self.catalogue(
            directory, status, program=program, env=libraries, cwd="/", **self.asNobody
        )

    def test_directories_without_permission_are_listed_and_the_rest_is_counted(self):
        self.make_tree_of_every_kind()
        for mode in (0o000, 0o111, 0o333):
            os.chmod(self.make_directory(b"tree/closed/%03o" % mode), mode)
        os.chmod(self.make_file(b"tree/closed/file", 3), 0o000)
        entries = Entry.all_of(self.tree, env=ENVIRONMENT, cwd="/", **self.asNobody)

        catalogue = self.catalogue_without_rights(self.tree, status=1)

        self.assert_as_find(catalogue, entries)
        paths = self.below_tree(*(b"closed/%03o" % mode for mode in (0o000, 0o111, 0o333)))
        self.assertEqual(self.unreadable(catalogue), [(path, "QVREOpenFailed") for path in paths])
        for entry in catalogue["unreadable"]:
            self.assertEqual(
                entry["what"], "Error encountered while opening first file in directory"
            )
            source = "QVRSystem/QVRFileUtilsMD.m/src/QVROSDirectoryIterator"
            self.assertRegex(entry["where"], "^" + re.escape(source) + r"\(\d+\)$")

    def test_entries_whose_status_is_refused_count_by_their_kind(self):
        self.make_file(b"tree/seen/file", 4)
        self.make_file(b"tree/seen/directory/file", 5)
        os.symlink(b"file", self.place(b"tree/seen/link"))
        os.chmod(self.place(b"tree/seen"), 0o444)

        catalogue = self.catalogue_without_rights(self.tree, status=1)

        totals = {"directories": 3, "regularFiles": 1, "otherEntries": 1, "bytes": 0}
        self.assertEqual(catalogue["totals"], totals)
        paths = self.below_tree(b"seen/directory", b"seen/file")
        self.assertEqual(
            self.unreadable(catalogue),
            list(zip(paths, ["QVREOpenFailed", "QVREAccessDenied"])),
        )
        self.assertIn("Permission denied", catalogue["unreadable"][1]["what"])

    def test_given_directory_without_permission_is_counted_and_listed(self):
        os.chmod(self.tree, 0o000)

        catalogue = self.catalogue_without_rights(self.tree, status=1)

        self.assertEqual(catalogue["totals"]["directories"], 1)
        self.assertEqual(self.unreadable(catalogue), [(self.tree.decode(), "QVREOpenFailed")])

    def test_tree_that_changes_meanwhile_is_got_through(self):
        stop = threading.Event()

        def churn():
            while not stop.is_set():
                for number in range(50):
                    self.make_file(b"tree/%d/%d/file" % (number % 5, number))
                for number in range(5):
                    shutil.rmtree(self.place(b"tree/%d" % number), ignore_errors=True)

        churning = threading.Thread(target=churn)
        churning.start()
        try:
            for _ in range(30):
                result = run("--format=json", self.tree)
                self.assertIn(result.returncode, (0, 1), result)
                catalogue = json.loads(result.stdout)
                self.assertEqual(result.returncode, int(bool(catalogue["unreadable"])))
        finally:
            stop.set()
            churning.join()


class DeepTree(CatalogueTest):
    LEVELS = 3000

    def setUp(self):
        super().setUp()
        _, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        if hard != resource.RLIM_INFINITY and hard < PATH_MAX:
            self.skipTest("the system allows too few descriptors")

    def test_everything_that_a_path_reaches_is_counted(self):
        here = os.open(self.tree, os.O_RDONLY)
        for _ in range(self.LEVELS):
            os.mkdir("d", dir_fd=here)
            os.close(os.open("f", os.O_CREAT | os.O_WRONLY, dir_fd=here))
            below = os.open("d", os.O_RDONLY, dir_fd=here)
            os.close(here)
            here = below
        os.close(here)
        _, hard = resource.getrlimit(resource.RLIMIT_NOFILE)

        result = run(
            "--format=json",
            cwd=self.tree,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, hard)),
        )

        self.assertEqual((result.returncode, result.stderr), (1, b""))
        catalogue = json.loads(result.stdout)
        # "." and "/d" for each level, and one byte less than there is room for.
        reached = (PATH_MAX - 1 - 1) // 2
        totals = {"directories": reached + 2, "regularFiles": reached + 1}
        self.assertLessEqual(totals.items(), catalogue["totals"].items())
        tooDeep = "." + "/d" * reached
        self.assertEqual(
            self.unreadable(catalogue),
            [(tooDeep + "/d", "QVREOpenFailed"), (tooDeep + "/f", "QVREIOError")],
        )

    def test_every_directory_that_a_descriptor_was_left_for_is_counted_whole(self):
        self.make_file(b"tree/" + b"d/" * 40 + b"f")
        for level in range(40):
            self.make_file(b"tree/" + b"d/" * level + b"f")
        for limit in (8, 9, 20):
            result = run(
                "--format=json",
                cwd=self.tree,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (limit, limit)),
            )

            self.assertEqual((result.returncode, result.stderr), (1, b""))
            catalogue = json.loads(result.stdout)
            entered = catalogue["totals"]["directories"] - 1
            self.assertGreater(entered, 1)
            self.assertEqual(catalogue["totals"]["regularFiles"], entered)
            closed = "." + "/d" * entered
            self.assertEqual(self.unreadable(catalogue), [(closed, "QVREOpenFailed")])


class Times(CatalogueTest):
    HOUR = 3600
    NEW_YEAR_2000 = 946684800

    def test_years_are_those_of_the_local_zone(self):
        for hours in (-13, -9, -6, -1, 0, 1, 4, 6, 9, 13):
            self.make_file(b"tree/%d" % hours, 1, self.NEW_YEAR_2000 + hours * self.HOUR - 1)
        for zone in ("UTC0", "JST-9", "EST5EDT,M3.2.0,M11.1.0", "AEST-10AEDT,M10.1.0,M4.1.0/3"):
            env = ENVIRONMENT | {"TZ": zone}

            self.assert_as_find(
                self.catalogue(self.tree, env={"TZ": zone}), Entry.all_of(self.tree, env=env)
            )

    def test_years_far_from_now_are_told(self):
        days = {1910: -21915, 1969: -1, 1970: 0, 2038: 24855, 2107: 50040, 2261: 106650}
        for year, day in days.items():
            self.make_file(b"tree/%d" % year, 1, day * 24 * self.HOUR)

        catalogue = self.catalogue(self.tree)

        self.assertEqual([item["year"] for item in catalogue["byYear"]], sorted(days))
        dates = {file["path"][-4:]: file["date"] for file in catalogue["largest"]}
        self.assertEqual(dates["1969"], "1969-12-31")
        self.assertEqual(dates["1970"], "1970-01-01")
        self.assertEqual(dates["2038"], "2038-01-19")

    def test_years_before_the_clock_of_files_are_told(self):
        if not os.access("/dev/shm", os.W_OK):
            self.skipTest("no file system for such times")
        directory = tempfile.mkdtemp(dir="/dev/shm")
        self.addCleanup(self.remove, directory)
        days = {1678: -106644, 1700: -98314, 1881: -32200, 1883: -31600}
        for year, day in days.items():
            name = self.make_file(os.fsencode(f"{directory}/{year}"), 1, day * 24 * self.HOUR)
            if os.stat(name).st_mtime != day * 24 * self.HOUR:
                self.skipTest("the file system holds no such times")

        self.assertEqual(
            [item["year"] for item in self.catalogue(directory)["byYear"]], sorted(days)
        )

    def test_year_beyond_the_clock_of_files_is_unknown(self):
        far = 10**10
        name = self.make_file(b"tree/far", 3, far)
        if os.stat(name).st_mtime != far:
            self.skipTest("the file system holds no such time")

        catalogue = self.catalogue(self.tree)

        self.assertEqual(catalogue["byYear"], [{"year": None, "files": 1, "bytes": 3}])
        self.assertIsNone(catalogue["largest"][0]["date"])
        self.assertIn(b"unknown", run(self.tree).stdout)


class Formats(CatalogueTest):
    def setUp(self):
        super().setUp()
        self.make_tree_of_every_kind()
        largest = b"tree/largest\n\x1b, \"quoted\" caf\xe9 \xc3\xa9"
        self.make_file(largest, 10**6, Times.NEW_YEAR_2000)
        self.make_file(b"tree/back\\slash", 1)

    def test_json_is_utf8_with_other_bytes_escaped(self):
        json_text = run("--format=json", self.tree).stdout.decode("utf-8", "strict")

        escaped = r'largest\u000a\u001b, \"quoted\" caf\u00e9 ' + "\u00e9"
        self.assertIn(escaped, json_text)
        self.assertEqual(json_text[-3:], "\n}\n")

    def test_every_byte_that_is_no_utf8_is_escaped_by_itself(self):
        overlong = [b"\xc0\xaf", b"\xe0\x80\xaf", b"\xf0\x80\x80\xaf"]
        others = overlong + [b"\xed\xa0\x80", b"\xf4\x90\x80\x80", b"\xe2\x82", b"\x80"]
        characters = ["\u00e9", "\u20ac", "\ud7ff", "\ue000", "\U00010000", "\U0010ffff"]
        names = others + [c.encode() for c in characters]
        for name in names:
            self.make_file(b"listed/\\" + name)
        # A backslash makes it a name that is listed.
        paths = [as_in_json(self.place(b"listed/\\" + name)) for name in sorted(names)]

        json_text = run("--format=json", self.place(b"listed")).stdout.decode("utf-8", "strict")

        self.assertEqual([e["path"] for e in json.loads(json_text)["unreadable"]], paths)
        for character in characters:
            self.assertIn(character, json_text)
        self.assertIn(r"\u00ed\u00a0\u0080", json_text)

    def test_json_numbers_are_numbers(self):
        catalogue = self.catalogue(self.tree, status=1)

        members = ["totals", "byYear", "largest", "unreadable", "elapsedSeconds"]
        self.assertEqual(list(catalogue), members)
        self.assertGreaterEqual(catalogue["elapsedSeconds"], 0)
        file = catalogue["largest"][0]
        self.assertEqual((file["bytes"], file["date"]), (10**6, "2000-01-01"))
        self.assertEqual(len(catalogue["largest"]), 10)

    def test_csv_says_what_json_says(self):
        catalogue = self.catalogue(self.tree, status=1)

        result = run("--format=csv", self.tree)

        self.assertEqual((result.returncode, result.stderr), (1, b""))
        text = result.stdout.decode("utf-8", "surrogateescape")
        header, *rows = csv.reader(io.StringIO(text, newline=""))
        self.assertEqual(",".join(header), "record,name,value,bytes,date,error,what,where")
        expected = [["total", name, str(n)] + [""] * 5 for name, n in catalogue["totals"].items()]
        for item in catalogue["byYear"]:
            values = [str(item[key]) for key in ("year", "files", "bytes")]
            expected.append(["year", *values] + [""] * 4)
        for file in catalogue["largest"]:
            values = ["", str(file["bytes"]), file["date"]]
            expected.append(["largest", file["path"], *values] + [""] * 3)
        for entry in catalogue["unreadable"]:
            expected.append(["unreadable", entry["path"], "", "", "", *list(entry.values())[1:]])
        shown = [[as_in_json(os.fsencode(field)) for field in row] for row in rows]
        self.assertEqual(shown[:-1], expected)
        self.assertEqual(shown[-1][:2], ["elapsed", "seconds"])

    def test_text_keeps_to_its_lines(self):
        catalogue = self.catalogue(self.tree, status=1)

        result = run("--format=text", self.tree)

        self.assertEqual((result.returncode, result.stderr), (1, b""))
        self.assertNotIn(b"\x1b", result.stdout)
        lines = result.stdout.decode("utf-8", "surrogateescape").splitlines()
        labels = ["directories", "regular files", "other entries", "bytes"]
        totals = [re.fullmatch(r"([a-z ]+?) +(\d+)", line).groups() for line in lines[:4]]
        self.assertEqual(
            totals, list(zip(labels, (str(n) for n in catalogue["totals"].values())))
        )
        largest = lines[lines.index("               bytes  date        largest files") + 1]
        self.assertRegex(largest, r"^ *1000000  2000-01-01  .*/tree/largest\\n\\x1b, \"quoted\"")
        unreadable = lines.index("not readable: 1")
        self.assertEqual(lines[unreadable + 1], "  " + self.place(b"tree/back\\slash").decode())
        self.assertRegex(lines[unreadable + 2], r"^    QVREInvalidName: A name ")
        self.assertRegex(lines[unreadable + 3], r"^    at examples/catalogue/Walk\(\d+\)$")
        self.assertRegex(lines[-1], r"^elapsed: \d+\.\d{6} s$")
        for item in catalogue["byYear"]:
            row = " +".join(str(item[key]) for key in ("year", "files", "bytes"))
            self.assertTrue(any(re.fullmatch(" +" + row, line) for line in lines), item)

    def test_text_is_the_format_where_none_is_given(self):
        without_time = [
            re.sub(rb"elapsed: .*", b"", run(*arguments, self.tree).stdout)
            for arguments in ([], ["--format=text"], ["--format=json", "--format=text"])
        ]

        self.assertEqual(without_time[0], without_time[1])
        self.assertEqual(without_time[0], without_time[2])

    def test_reports_are_the_same_in_every_locale(self):
        self.assertIn("de_DE.UTF-8", os.listdir(LOCALES))
        for form in ("text", "csv", "json"):
            reports = set()
            for locale in ("C", "C.UTF-8", "de_DE.UTF-8", "ja_JP.EUC-JP", "zh_CN.GB18030"):
                env = {"LC_ALL": locale, "LOCPATH": LOCALES}
                result = run(f"--format={form}", self.tree, env=env)
                reports.add(re.sub(rb"elapsed.*", b"", result.stdout))

            self.assertEqual(len(reports), 1)


class CommandLine(CatalogueTest):
    def assert_refused(self, arguments, complaint, **options):
        result = run(*arguments, **options)
        self.assertEqual((result.returncode, result.stdout), (2, b""), arguments)
        line = b"catalogue: " + complaint + b"\n"
        self.assertEqual(result.stderr, line, arguments)

    def test_wrong_use_is_told_in_one_line(self):
        file = self.make_file(b"file")
        os.symlink(b"nowhere", self.place(b"dangling"))
        gone, dangling = self.place(b"gone"), self.place(b"dangling")
        option = b"unknown option '%s': --help lists them"
        form = b"unknown format '%s': it is text, csv or json"
        cases = [
            ([b"--bogus"], option % b"--bogus"),
            ([b"-x", self.tree], option % b"-x"),
            ([b"--format", b"json"], option % b"--format"),
            ([self.tree, b"--help=1"], option % b"--help=1"),
            ([b"--help", b"--bogus"], option % b"--bogus"),
            ([b"--format=xml"], form % b"xml"),
            ([b"--format="], form % b""),
            ([b"--format=JSON", self.tree], form % b"JSON"),
            ([gone], b"there is no directory '%s'" % gone),
            ([dangling], b"there is no directory '%s'" % dangling),
            ([b""], b"there is no directory ''"),
            ([b"--", b"--help"], b"there is no directory '--help'"),
            ([file], b"'%s' is not a directory" % file),
            ([b"/dev/null"], b"'/dev/null' is not a directory"),
            ([b"/" * PATH_MAX], b"'%s' cannot be looked at" % (b"/" * PATH_MAX)),
            ([self.tree, self.place(b"")], b"'%s' is one directory too many" % self.place(b"")),
        ]
        for arguments, complaint in cases:
            self.assert_refused(arguments, complaint, cwd=self.directory)

    def test_names_in_complaints_keep_to_their_line(self):
        cases = [
            (b"a\nb\x1b", "C", rb"a\nb\x1b"),
            (b"caf\xc3\xa9", "C.UTF-8", b"caf\xc3\xa9"),
            (b"caf\xc3\xa9", "C", rb"caf\xc3\xa9"),
            (b"caf\xe9", "C.UTF-8", rb"caf\xe9"),
            (b"%1%2", "C", b"%1%2"),
        ]
        for name, locale, shown in cases:
            complaint = b"there is no directory '%s'" % shown
            self.assert_refused([name], complaint, env={"LC_ALL": locale})

    def test_help_is_printed_and_nothing_done(self):
        result = run("--help", self.place(b"gone"))

        self.assertEqual((result.returncode, result.stderr), (0, b""))
        self.assertTrue(result.stdout.startswith(b"Usage: catalogue "))
        for option in (b"--format=", b"--help", b"text", b"csv", b"json"):
            self.assertIn(option, result.stdout)

    def test_what_follows_two_dashes_is_no_option(self):
        self.make_file(b"tree/--format=csv/file")
        self.make_file(b"tree/-/file")

        for arguments in (["--", "--format=csv"], ["-"]):
            result = run(*arguments, cwd=self.tree)

            self.assertEqual((result.returncode, result.stderr), (0, b""))
            self.assertRegex(result.stdout.decode(), r"(?m)^regular files +1$")

    def test_report_that_cannot_be_written_is_a_failure(self):
        for form in ("text", "csv", "json"):
            with open("/dev/full", "wb") as full:
                result = subprocess.run(
                    [PROGRAM, f"--format={form}", self.tree],
                    env=ENVIRONMENT,
                    stdout=full,
                    stderr=subprocess.PIPE,
                )

            complaint = b"catalogue: the report cannot be written: No space left on device\n"
            self.assertEqual((result.returncode, result.stderr), (3, complaint))


class Terminal(CatalogueTest):
    def test_progress_is_shown_there_and_taken_away(self):
        for number in range(500):
            self.make_file(b"tree/%d" % number)
        terminal, side = pty.openpty()

        result = subprocess.run(
            [PROGRAM, self.tree], env=ENVIRONMENT, stdout=subprocess.PIPE, stderr=side
        )

        os.close(side)
        shown = os.read(terminal, 10**6)
        os.close(terminal)
        self.assertEqual(result.returncode, 0)
        self.assertRegex(shown, rb"\r\x1b\[K\d+ entries")
        self.assertTrue(shown.endswith(b"\r\x1b[K"))
        self.assertNotIn(b"\n", shown)


class Traces(CatalogueTest):
    LINES = (
        b"Entering catalogue\n"
        b"Entering catalogue: options\nExiting catalogue: options\n"
        b"Entering catalogue: walk\nExiting catalogue: walk\n"
        b"Entering catalogue: report\nExiting catalogue: report\n"
        b"Exiting catalogue\n"
    )

    def lines_with(self, **variables):
        return run(self.tree, env=variables).stderr

    def test_phases_are_traced_where_the_environment_says_so(self):
        for level in ("Fatal", "Error", "Warning"):
            self.assertEqual(self.lines_with(QVRSystemTraceTraceLevel=level), self.LINES)
            self.assertEqual(self.lines_with(QVRDefaultTraceLevel=level), self.LINES)

    def test_other_levels_write_nothing(self):
        for level in ("None", "Info", "Debug", "Call", "Unspec", "error", ""):
            self.assertEqual(self.lines_with(QVRSystemTraceTraceLevel=level), b"")
        everywhere = {"QVRDefaultTraceLevel": "None", "QVRSystemTraceTraceLevel": "Error"}
        self.assertEqual(self.lines_with(**everywhere), b"")


if __name__ == "__main__":
    PROGRAM = os.path.abspath(sys.argv.pop(1))
    unittest.main()
