#!/usr/bin/env python3
"""What the catalogue program reports, on trees of every kind.

Usage: CatalogueTest.py PROGRAM [TEST...]
"""

import collections
import csv
import fcntl
import io
import json
import os
import pty
import random
import re
import resource
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import termios
import threading
import unittest
import uuid
import zlib

PROGRAM = None  # set by main()

# Compiled for the tests into the build folder, in which this script lies too.
LOCALES = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "locales")

ENVIRONMENT = {
    name: value for name, value in os.environ.items() if not name.endswith("TraceLevel")
} | {"LC_ALL": "C.UTF-8", "TZ": "UTC0"}

NOBODY = 65534
PATH_MAX = 4096  # with the zero at the end


def is_sanitized(by=""):
    return f"{by}san.so".encode() in subprocess.run(["ldd", PROGRAM], capture_output=True, check=True).stdout


def run(*arguments, env=None, program=None, **options):
    return subprocess.run(
        [program or PROGRAM, *arguments],
        env=ENVIRONMENT | (env or {}),
        capture_output=True,
        timeout=300,
        **options,
    )


def all_shown_on(terminal):
    """What is still to be read from a terminal until its other side is closed."""
    shown = b""
    try:
        while part := os.read(terminal, 10**6):
            shown += part
    except OSError:
        pass  # so ends what a terminal shows
    os.close(terminal)
    return shown


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

    def make_much_to_read(self, times):
        """One content under so many names; a tenth where reading it takes so much longer.

        @return the content, and the bytes of all files.
        """
        if is_sanitized():
            times //= 10
        content = random.Random(times).randbytes(20_000_000)
        with open(self.make_file(b"tree/0"), "wb") as file:
            file.write(content)
        for number in range(1, times):
            os.link(self.place(b"tree/0"), self.place(b"tree/%d" % number))
        return content, times * len(content)

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

        for own in ("run", "system", "elapsedSeconds"):
            del catalogue[own]
        totals = {"directories": 1, "regularFiles": 0, "otherEntries": 0, "bytes": 0}
        self.assertEqual(
            catalogue, {"totals": totals, "byYear": [], "largest": [], "unreadable": []}
        )

    def test_current_directory_is_taken_where_none_is_given(self):
        self.make_file(b"tree/deep/file", 7)

        given = json.loads(run("--format=json", ".", cwd=self.tree).stdout)
        taken = json.loads(run("--format=json", cwd=self.tree).stdout)

        self.assertEqual(taken["largest"][0]["path"], "./deep/file")
        for catalogue in (given, taken):
            del catalogue["run"], catalogue["elapsedSeconds"]
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
        """The program, its libraries and plug-ins, where anybody can run them."""
        stage = self.make_directory(b"stage").decode()
        loaded = subprocess.run(["ldd", PROGRAM], capture_output=True, text=True, check=True).stdout
        for library in re.findall(r"=> (\S+/lib(?:QVR|ZEL)\S+)", loaded):
            shutil.copy(library, stage)
        shutil.copytree(os.path.join(os.path.dirname(PROGRAM), "plugins"), stage + "/plugins")
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

    def test_content_that_is_refused_is_listed_and_left_out_of_the_checksum(self):
        for name in (b"a", b"closed", b"z"):
            with open(self.make_file(b"tree/" + name), "wb") as file:
                file.write(b"content of " + name)
        os.chmod(self.make_file(b"tree/closed, but empty"), 0o000)
        os.chmod(self.place(b"tree/closed"), 0o000)
        self.make_file(b"tree/closed directory/file", 3)
        os.chmod(self.place(b"tree/closed directory"), 0o000)
        program, libraries = self.stage()
        for name, checksum_of in (("sha256", sha256sum), ("crc32", zlib_checksum)):
            reports = set()
            for threads in (1, 2, 8):
                result = run(
                    "--format=json",
                    f"--checksum={name}",
                    f"--threads={threads}",
                    self.tree,
                    program=program,
                    env=libraries,
                    cwd="/",
                    **self.asNobody,
                )
                self.assertEqual((result.returncode, result.stderr), (1, b""))
                reports.add(without_its_own(result.stdout))

            self.assertEqual(len(reports), 1)
            catalogue = json.loads(result.stdout)
            self.assertEqual(catalogue[name], checksum_of(b"content of acontent of z"))
            listed = {file["path"]: file[name] for file in catalogue["largest"]}
            self.assertIsNone(listed[as_in_json(self.tree) + "/closed"])
        self.assertEqual(
            self.unreadable(catalogue),
            list(
                zip(
                    self.below_tree(b"closed", b"closed directory"),
                    ["QVREAccessDenied", "QVREOpenFailed"],
                )
            ),
        )
        self.assertIn("Permission denied", catalogue["unreadable"][0]["what"])

    def test_what_a_failing_directory_told_before_is_read(self):
        if is_sanitized():
            self.skipTest("sanitizers want to be loaded first")
        for name in (b"a", b"b/c"):
            self.make_file(b"tree/" + name, 5)
        shim = os.path.join(os.path.dirname(os.path.abspath(__file__)), "FailingDirectories.so")

        for threads in (1, 2):
            result = run(
                "--format=json", f"--threads={threads}", self.tree, env={"LD_PRELOAD": shim}
            )

            catalogue = json.loads(result.stdout)
            self.assertEqual((result.returncode, result.stderr), (1, b""))
            self.assertEqual(catalogue["totals"]["regularFiles"], 2)
            self.assertEqual(catalogue["totals"]["bytes"], 10)
            directories = [self.tree.decode(), self.tree.decode() + "/b"]
            listed = [(path, "QVREIOError") for path in directories]
            self.assertEqual(self.unreadable(catalogue), listed)

    def test_given_directory_without_permission_is_counted_and_listed(self):
        os.chmod(self.tree, 0o000)

        catalogue = self.catalogue_without_rights(self.tree, status=1)

        self.assertEqual(catalogue["totals"]["directories"], 1)
        self.assertEqual(self.unreadable(catalogue), [(self.tree.decode(), "QVREOpenFailed")])

    def test_lack_of_memory_is_told_in_one_line(self):
        if is_sanitized():
            self.skipTest("sanitizers need more memory than there is")
        for number in range(200):
            self.make_file(b"tree/%d/file" % number)
        failures = 0
        for megabytes in range(40, 0, -2):
            limit = megabytes << 20
            result = run(
                "--threads=4",
                self.tree,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)),
            )
            if b"error while loading shared libraries" in result.stderr:
                break  # so say those who load the program
            self.assertIn(result.returncode, (0, 3))
            self.assertRegex(result.stderr, b"^(catalogue: .*\n)?$")
            failures += result.returncode

        self.assertGreater(failures, 0)

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

    def test_a_few_descriptors_do_for_any_depth_and_any_number_of_threads(self):
        for level in range(40):
            for number in range(20):
                self.make_file(b"tree/" + b"d/" * level + b"%d/f" % number, 10)
        for limit in (8, 9, 20):
            for threads in (1, 64):
                result = run(
                    "--format=json",
                    "--checksum",
                    f"--threads={threads}",
                    cwd=self.tree,
                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (limit, limit)),
                )

                self.assertEqual((result.returncode, result.stderr), (0, b""))
                totals = json.loads(result.stdout)["totals"]
                self.assertEqual((totals["directories"], totals["regularFiles"]), (840, 800))


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

        members = ["run", "system", "totals", "byYear", "largest", "unreadable", "elapsedSeconds"]
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
        self.assertEqual(rows[0][:2] + rows[0][3:], ["run", "uuid"] + [""] * 5)
        facts = ("system", catalogue["system"]), ("total", catalogue["totals"])
        expected = [
            [record, name, str(value)] + [""] * 5
            for record, values in facts
            for name, value in values.items()
        ]
        for item in catalogue["byYear"]:
            values = [str(item[key]) for key in ("year", "files", "bytes")]
            expected.append(["year", *values] + [""] * 4)
        for file in catalogue["largest"]:
            values = ["", str(file["bytes"]), file["date"]]
            expected.append(["largest", file["path"], *values] + [""] * 3)
        for entry in catalogue["unreadable"]:
            expected.append(["unreadable", entry["path"], "", "", "", *list(entry.values())[1:]])
        shown = [[as_in_json(os.fsencode(field)) for field in row] for row in rows]
        self.assertEqual(shown[1:-1], expected)
        self.assertEqual(shown[-1][:2], ["elapsed", "seconds"])

    def test_text_keeps_to_its_lines(self):
        catalogue = self.catalogue(self.tree, status=1)

        result = run("--format=text", self.tree)

        self.assertEqual((result.returncode, result.stderr), (1, b""))
        self.assertNotIn(b"\x1b", result.stdout)
        lines = result.stdout.decode("utf-8", "surrogateescape").splitlines()
        run_label, _ = lines[0].split()
        self.assertEqual(run_label, "run")
        system = dict(line.split(maxsplit=1) for line in lines[1:5])
        release = "release " + catalogue["system"].pop("release")
        self.assertEqual(
            system,
            {name: str(value) for name, value in catalogue["system"].items()} | {"system": release},
        )
        labels = ["directories", "regular files", "other entries", "bytes"]
        totals = [re.fullmatch(r"([a-z ]+?) +(\d+)", line).groups() for line in lines[6:10]]
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
        reports = {
            without_its_own(run(*arguments, self.tree).stdout)
            for arguments in ([], ["--format=text"], ["--format=json", "--format=text"])
        }

        self.assertEqual(len(reports), 1)

    def test_every_run_has_an_identifier_of_its_own(self):
        seen = set()
        for form, label in (("text", "run +"), ("csv", "run,uuid,"), ("json", '  "run": "')):
            for _ in range(3):
                report = run(f"--format={form}", self.tree).stdout.decode("utf-8", "replace")
                seen.add(re.search(f"(?m)^{label}([-0-9a-f]+)", report).group(1))

        self.assertEqual(len(seen), 9)
        for text in seen:
            self.assertEqual((str(uuid.UUID(text)), uuid.UUID(text).version), (text, 4))

    def test_reports_are_the_same_in_every_locale(self):
        self.assertIn("de_DE.UTF-8", os.listdir(LOCALES))
        for form in ("text", "csv", "json"):
            reports = set()
            for locale in ("C", "C.UTF-8", "de_DE.UTF-8", "ja_JP.EUC-JP", "zh_CN.GB18030"):
                env = {"LC_ALL": locale, "LOCPATH": LOCALES}
                result = run(f"--format={form}", self.tree, env=env)
                reports.add(without_its_own(result.stdout))

            self.assertEqual(len(reports), 1)


def without_its_own(report):
    """Without what differs from run to run."""
    return re.sub(rb'(?m)^ *"?(run|elapsed).*', b"", report)


def zlib_checksum(content):
    return "%08x" % zlib.crc32(content)


def sha256sum(content):
    result = subprocess.run(["sha256sum"], input=content, capture_output=True, check=True)
    return result.stdout[:64].decode()


class Checksums:
    """What holds whichever it is."""

    def write(self, name, content):
        with open(self.make_file(name), "wb") as file:
            file.write(content)

    def checksums(self, directory, *options, status=0, **others):
        """That of all contents, and those of the largest files by their names in the tree."""
        result = run("--format=json", f"--checksum={self.NAME}", *options, directory, **others)
        self.assertEqual((result.returncode, result.stderr), (status, b""))
        catalogue = json.loads(result.stdout)
        begin = len(as_in_json(directory)) + 1
        files = {file["path"][begin:]: file[self.NAME] for file in catalogue["largest"]}
        return catalogue[self.NAME], files

    def contents_in_order(self, directory):
        """All contents, one after the other in the byte order of the paths."""
        paths = sorted(entry.path for entry in Entry.all_of(directory) if entry.kind == "f")
        for path in paths:
            with open(path, "rb") as file:
                yield file.read()

    def test_every_checksum_is_as_others_say_it(self):
        contents = {
            "file of %d" % size: random.Random(size).randbytes(size)
            for size in (1, 15, 16, 55, 64, 4096, 65535, 65536, 65537, 1_000_003)
        }
        for name, content in contents.items():
            self.write(b"tree/" + name.encode(), content)

        _, files = self.checksums(self.tree)

        self.assertEqual(files, {name: self.checksum_of(c) for name, c in contents.items()})

    def test_contents_count_in_the_byte_order_of_their_paths(self):
        names = [b"a", b"a!", b"a-b", b"a0", b"b/a", b"b/a.x", b"b.x", b"b/a-/c", b"b0", b"\xff"]
        for name in (*names, b"a /x", b"a./x", b"a1/x", b"a1 /x", b"caf\xe9/x", b"caf\xc3\xa9"):
            self.write(b"tree/" + name, b"content of " + name)

        whole, _ = self.checksums(self.tree)

        self.assertEqual(whole, self.checksum_of(b"".join(self.contents_in_order(self.tree))))

    def test_every_file_of_a_large_tree_counts(self):
        for number in range(2000):
            name = b"tree/%d/%d/%d" % (number % 7, number % 31, number)
            self.write(name, b"%d" % number * (number % 50))

        whole, _ = self.checksums(self.tree)

        self.assertEqual(whole, self.checksum_of(b"".join(self.contents_in_order(self.tree))))

    def test_no_file_has_the_checksum_of_no_bytes(self):
        none = self.checksum_of(b"")

        self.assertEqual(self.checksums(self.tree), (none, {}))
        self.make_file(b"tree/empty")
        self.assertEqual(self.checksums(self.tree), (none, {"empty": none}))

    def test_only_regular_files_are_read(self):
        self.make_tree_of_every_kind()
        expected = self.checksum_of(b"".join(self.contents_in_order(self.tree)))

        # A pipe that was opened to be read would have it wait.
        whole, _ = self.checksums(self.tree)

        self.assertEqual(whole, expected)

    def test_holes_are_zeros(self):
        content = bytearray(2**20)
        name = self.make_file(b"tree/sparse", len(content))
        with open(name, "r+b") as file:
            for at in (0, 70_000, 300_000, 700_001):
                content[at : at + 6] = b"island"
                file.seek(at)
                file.write(b"island")

        self.assertEqual(self.checksums(self.tree)[0], self.checksum_of(content))

    def test_files_that_tell_no_size_are_not_read(self):
        """The system makes some up that never end, or have their readers wait."""
        made_up = b"/proc/sys/kernel/random"
        if not os.path.isdir(made_up):
            self.skipTest("no files that the system makes up")

        whole, _ = self.checksums(made_up)

        self.assertEqual(whole, self.checksum_of(b""))

    def test_csv_and_text_have_the_checksums_too(self):
        self.write(b"tree/file", b"123456789")
        self.write(b"tree/longer file", b"123456789" * 2)
        whole, files = self.checksums(self.tree)

        table = run("--format=csv", f"--checksum={self.NAME}", self.tree).stdout.decode()
        text = run(f"--checksum={self.NAME}", self.tree).stdout.decode()

        rows = list(csv.reader(io.StringIO(table)))
        self.assertIn(["checksum", self.NAME, whole] + [""] * 5, rows)
        listed = {row[1].split("/tree/")[1]: row[2] for row in rows if row[0] == "largest"}
        self.assertEqual(listed, files)
        self.assertRegex(text, f"(?m)^{self.NAME} +{whole}$")
        for name, checksum in files.items():
            self.assertRegex(text, f"(?m)^ +\\d+  \\d{{4}}-\\d\\d-\\d\\d  {checksum}  .*/{name}$")

    def test_files_that_change_meanwhile_are_got_through(self):
        stop = threading.Event()

        def churn():
            name = self.place(b"tree/changing")
            while not stop.is_set():
                with open(name, "wb") as file:
                    file.write(b"x" * 200_000)
                with open(name, "r+b") as file:
                    file.truncate(10)
                    file.truncate(self.GROWN)
                os.unlink(name)
                os.mkfifo(name)
                os.unlink(name)
                os.symlink(b"/dev/zero", name)
                os.unlink(name)

        churning = threading.Thread(target=churn)
        churning.start()
        try:
            for _ in range(50):
                result = run("--format=json", f"--checksum={self.NAME}", self.tree)
                self.assertIn(result.returncode, (0, 1), result)
                catalogue = json.loads(result.stdout)
                self.assertEqual(result.returncode, int(bool(catalogue["unreadable"])))
                self.assertIsNotNone(catalogue[self.NAME])
        finally:
            stop.set()
            churning.join()


class Crc32(Checksums, CatalogueTest):
    NAME = "crc32"
    checksum_of = staticmethod(zlib_checksum)
    GROWN = 10**9

    def test_check_value_is_that_of_the_standard(self):
        self.write(b"tree/file", b"123456789")

        self.assertEqual(self.checksums(self.tree), ("cbf43926", {"file": "cbf43926"}))

    def test_it_is_taken_where_no_name_is_given(self):
        self.write(b"tree/file", b"123456789")

        catalogue = json.loads(run("--format=json", "--checksum", self.tree).stdout)

        self.assertEqual(catalogue["crc32"], "cbf43926")

    def test_holes_are_zeros_that_nobody_has_to_read(self):
        size = 2**40
        with open(self.make_file(b"tree/sparse", size), "r+b") as file:
            file.write(b"begin")
            file.seek(2**39 + 7)
            file.write(b"middle")
        # As in the program: zeros are so many squarings, not so many bytes.
        expected = zlib.crc32(b"begin")
        expected = crc_of_zeros_behind(expected, 2**39 + 7 - 5)
        expected = zlib.crc32(b"middle", expected)
        expected = crc_of_zeros_behind(expected, size - 2**39 - 7 - 6)

        whole, files = self.checksums(self.tree)

        self.assertEqual(whole, "%08x" % expected)
        self.assertEqual(files, {"sparse": whole})


def crc_of_zeros_behind(crc, count):
    """The CRC-32 with so many zeros behind, by squaring the matrix of one zero bit."""
    matrix = [0xEDB88320] + [1 << bit for bit in range(31)]

    def times(columns, vector):
        product = 0
        for bit, column in enumerate(columns):
            if vector >> bit & 1:
                product ^= column
        return product

    remainder, bits = crc ^ 0xFFFFFFFF, count * 8
    while bits:
        if bits & 1:
            remainder = times(matrix, remainder)
        matrix = [times(matrix, column) for column in matrix]
        bits >>= 1
    return remainder ^ 0xFFFFFFFF


class Sha256(Checksums, CatalogueTest):
    NAME = "sha256"
    checksum_of = staticmethod(sha256sum)
    GROWN = 10**6  # since it has to go through the zeros

    def test_large_files_have_their_own_whenever_they_are_met(self):
        """Only those that reports may list get one while the contents go by."""
        for number in range(60):
            content = b"%d" % number * (10 + 7 * number % 60)
            self.write(b"tree/%02d/%02d" % (number % 7, number), content)

        whole, files = self.checksums(self.tree)

        self.assertEqual(whole, sha256sum(b"".join(self.contents_in_order(self.tree))))
        for name, checksum in files.items():
            with open(self.place(b"tree/" + name.encode()), "rb") as file:
                self.assertEqual(checksum, sha256sum(file.read()), name)


class Threads(CatalogueTest):
    NUMBERS = (1, 2, 3, 8, 64)

    def assert_same_for_every_number_of_threads(self, directory, status, asked):
        for form, checksum in asked:
            reports = set()
            for threads in self.NUMBERS:
                result = run(
                    f"--format={form}", f"--checksum={checksum}", f"--threads={threads}", directory
                )
                self.assertEqual((result.returncode, result.stderr), (status, b""), threads)
                reports.add(without_its_own(result.stdout))

            self.assertEqual(len(reports), 1, (form, checksum))

    def test_number_of_threads_changes_nothing_in_the_report(self):
        self.make_tree_of_every_kind()
        for number in range(3000):
            size = number % 100 if number % 10 else 100
            self.make_file(b"tree/%d/%d/%d" % (number % 13, number % 17, number), size)
        for name in (b"back\\slash", b"%a%/%b%", b"\\", b"x\\y"):
            self.make_file(b"tree/odd/" + name + b"/inside")
            self.make_file(b"tree/more/" + name)

        asked = [("text", "crc32"), ("csv", "crc32"), ("json", "crc32"), ("json", "sha256")]
        self.assert_same_for_every_number_of_threads(self.tree, 1, asked)

    def test_number_of_threads_changes_nothing_in_that_of_usr_include(self):
        self.assert_same_for_every_number_of_threads(b"/usr/include", 0, [("json", "crc32")])

    def most_while_it_runs(self, read, *arguments):
        """The most that `read` ever gives for the process's folder in /proc."""
        with subprocess.Popen(
            [PROGRAM, *arguments], env=ENVIRONMENT, stdout=subprocess.PIPE
        ) as process:
            most = 0
            while process.poll() is None:
                try:
                    most = max(most, read(f"/proc/{process.pid}"))
                except (OSError, AttributeError):
                    pass  # it ends just now
                try:
                    process.wait(0.005)
                except subprocess.TimeoutExpired:
                    pass
        self.assertEqual(process.returncode, 0)
        return most

    def test_threads_are_as_many_as_are_asked_for(self):
        self.make_much_to_read(30)

        few, many = (
            self.most_while_it_runs(
                lambda folder: len(os.listdir(folder + "/task")),
                "--checksum",
                f"--threads={threads}",
                self.tree,
            )
            for threads in (1, 6)
        )

        self.assertEqual(many - few, 5)

    def test_memory_does_not_grow_with_the_tree(self):
        # Disks take minutes to remove so many.
        quick = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
        tree = os.fsencode(tempfile.mkdtemp(prefix="qvr-catalogue-", dir=quick))
        self.addCleanup(self.remove, tree)
        numbers = range(36)
        for first in numbers:
            os.mkdir(tree + b"/%0100d" % first)
            for second in numbers:
                os.mkdir(tree + b"/%0100d/%0100d" % (first, second))
                for third in numbers:
                    os.mkdir(tree + b"/%0100d/%0100d/%0100d" % (first, second, third))

        def peak_kilobytes(folder):
            with open(folder + "/status") as file:
                return int(re.search(r"VmHWM:\s*(\d+) kB", file.read()).group(1))

        # A queue of all these directories would take twice as much.
        limit = 1_000_000 if is_sanitized() else 10_000
        for threads in (1, 8):
            peak = self.most_while_it_runs(peak_kilobytes, f"--threads={threads}", tree)
            self.assertGreater(peak, 0)
            self.assertLess(peak, limit)


class Plugins(CatalogueTest):
    """The search path, and what is told of a plug-in that cannot be used."""

    def setUp(self):
        super().setUp()
        with open(self.make_file(b"tree/file"), "wb") as file:
            file.write(b"abc")
        self.others = os.path.join(os.path.dirname(os.path.abspath(__file__)), "plugins")
        self.own = os.path.join(os.path.dirname(PROGRAM), "plugins")

    def checksum_names(self, *options, **variables):
        """The names of the checksums in the report, with their values."""
        result = run("--format=csv", *options, self.tree, env=variables)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        rows = csv.reader(io.StringIO(result.stdout.decode()))
        return [(row[1], row[2]) for row in rows if row[0] == "checksum"]

    def assert_refused(self, complaint, *options, **variables):
        result = run(*options, self.tree, env=variables)
        self.assertEqual((result.returncode, result.stdout), (2, b""))
        self.assertRegex(result.stderr.decode(), f"^catalogue: {complaint}\n$")

    def test_plugin_of_the_given_folders_is_used(self):
        for options, variables in (
            ([f"--plugins=/nowhere;{self.others}"], {}),
            ([], {"QVRCataloguePlugins": f"{self.others};/nowhere"}),
            (["--plugins=%HOME%"], {"HOME": self.others}),
        ):
            found = self.checksum_names("--checksum=sum", *options, **variables)

            self.assertEqual(found, [("sum", "0126")])

    def test_given_folders_do_not_hide_the_plugins_of_the_program(self):
        found = self.checksum_names("--checksum", f"--plugins={self.others}")

        self.assertEqual(found, [("crc32", zlib_checksum(b"abc"))])

    def test_given_folders_come_before_all_others(self):
        folders = [self.make_directory(name).decode() for name in (b"given", b"environment")]
        shutil.copy(f"{self.others}/catalogue-sum.so", folders[0] + "/catalogue-crc32.so")
        shutil.copy(f"{self.own}/catalogue-sha256.so", folders[1] + "/catalogue-crc32.so")
        environment = {"QVRCataloguePlugins": folders[1]}

        of_environment = self.checksum_names("--checksum", **environment)
        of_given = self.checksum_names("--checksum", f"--plugins={folders[0]}", **environment)

        self.assertEqual(of_environment, [("sha256", sha256sum(b"abc"))])
        self.assertEqual(of_given, [("sum", "0126")])

    def test_missing_plugin_is_told_with_the_search_path(self):
        path = f"/nowhere;no where;{re.escape(self.own)};[^;']*"
        self.assert_refused(
            f"there is no checksum 'md5': no 'catalogue-md5.so' in '{path}'",
            "--checksum=md5",
            "--plugins=/nowhere",
            QVRCataloguePlugins="no where",
        )

    def test_plugin_that_cannot_be_used_is_told(self):
        missing = self.make_directory(b"bad").decode()
        with open(missing + "/catalogue-text.so", "w") as file:
            file.write("no library")
        for name, folder, complaint in (
            ("text", missing, "the plug-in '.*text.so' cannot be loaded: file open error"),
            ("nosymbol", self.others, "'.*' is no plug-in of the catalogue: it has no function .*"),
            ("future", self.others, "the plug-in '.*' has version 2 .* this program version 1"),
            ("incomplete", self.others, "the plug-in '.*' is not complete"),
        ):
            self.assert_refused(complaint, f"--checksum={name}", f"--plugins={folder}")

    def test_nothing_is_looked_for_where_no_checksum_is_asked_for(self):
        self.assertEqual(self.checksum_names("--plugins=/nowhere"), [])


class Output(CatalogueTest):
    """Reports that go to a file."""

    def test_file_has_what_standard_output_would_have(self):
        self.make_tree_of_every_kind()
        file = self.place(b"report")
        for form in ("text", "csv", "json"):
            printed = run(f"--format={form}", self.tree)
            written = run(f"--format={form}", b"--output=" + file, self.tree)

            self.assertEqual((written.returncode, written.stdout, written.stderr), (0, b"", b""))
            with open(file, "rb") as report:
                self.assertEqual(without_its_own(report.read()), without_its_own(printed.stdout))

    def test_file_is_emptied_first_and_counted_so_within_the_tree(self):
        self.make_file(b"tree/report", 10**7)

        result = run("--format=json", "--checksum", "--output=report", cwd=self.tree)

        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, b"", b""))
        with open(self.place(b"tree/report"), "rb") as report:
            catalogue = json.load(report)
        self.assertEqual(catalogue["totals"]["regularFiles"], 1)
        self.assertEqual(catalogue["totals"]["bytes"], 0)

    def test_file_stays_as_it_is_in_wrong_use(self):
        file = self.make_file(b"report", 5)

        for arguments in (["--bogus"], [self.place(b"gone")], ["--checksum=md5"]):
            self.assertEqual(run(b"--output=" + file, *arguments).returncode, 2)
            self.assertEqual(os.path.getsize(file), 5)

    def test_exit_status_tells_of_what_could_not_be_read(self):
        self.make_file(b"tree/back\\slash")

        result = run(b"--output=" + self.place(b"report"), self.tree)

        self.assertEqual((result.returncode, result.stdout, result.stderr), (1, b"", b""))

    def test_file_that_cannot_be_written_is_told_in_one_line(self):
        opened = b"Failed to open stream buffer for file"
        for name, reason in (
            (self.place(b"no/report"), b"The directory for the file does not exist"),
            (self.place(b""), opened),
            (self.tree, opened),
            (b"/dev/full", b"No space left on device"),
        ):
            result = run(b"--output=" + name, self.tree)

            line = b"catalogue: the report cannot be written to '%s': %s\n" % (name, reason)
            self.assertEqual((result.returncode, result.stdout, result.stderr), (3, b"", line))


class Interrupts(CatalogueTest):
    """The first interrupt has the program end with what it has, the second at once."""

    HANDLED = 1 << signal.SIGINT - 1

    def setUp(self):
        super().setUp()
        if is_sanitized("libt"):
            self.skipTest("the thread sanitizer puts signals off")

    def start(self, *options, stderr):
        process = subprocess.Popen(
            [PROGRAM, *options, self.tree],
            env=ENVIRONMENT,
            stdout=subprocess.PIPE,
            stderr=stderr,
            # A shell has its background jobs ignore the signal.
            preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL),
        )
        self.addCleanup(process.kill)
        return process

    def interrupted_report(self, *options):
        """What the program prints that is interrupted as soon as it shows that it walks."""
        terminal, side = pty.openpty()
        process = self.start(*options, stderr=side)
        os.close(side)
        while b"entries" not in os.read(terminal, 1000):
            pass

        process.send_signal(signal.SIGINT)
        report, _ = process.communicate(timeout=300)

        shown = all_shown_on(terminal)
        self.assertEqual(process.returncode, 130)
        self.assertTrue(shown == b"" or shown.endswith(b"\r\x1b[K"))
        return report.decode()

    def test_first_one_has_it_print_what_it_has(self):
        content, whole = self.make_much_to_read(1000)
        for threads, name in ((1, "crc32"), (8, "crc32"), (8, "sha256")):
            catalogue = json.loads(
                self.interrupted_report(
                    "--format=json", f"--checksum={name}", f"--threads={threads}"
                )
            )

            self.assertIs(catalogue["interrupted"], True)
            self.assertIsNone(catalogue[name])
            self.assertGreaterEqual(catalogue["totals"]["directories"], 1)
            self.assertLess(catalogue["totals"]["bytes"], whole)
            self.assertEqual(catalogue["unreadable"], [])
            of_each = {"crc32": zlib_checksum, "sha256": sha256sum}[name](content)
            for file in catalogue["largest"]:
                self.assertIn(file[name], (None, of_each))

    def test_every_format_says_so(self):
        self.make_much_to_read(1000)

        rows = list(csv.reader(io.StringIO(self.interrupted_report("--format=csv", "--checksum"))))
        text = self.interrupted_report("--checksum")

        self.assertIn(["interrupted"] + [""] * 7, rows)
        self.assertIn(["checksum", "crc32"] + [""] * 6, rows)
        self.assertRegex(text, r"(?m)^interrupted: ")
        self.assertRegex(text, r"(?m)^crc32 +unknown$")

    def handles_interrupts(self, process):
        with open(f"/proc/{process.pid}/status") as file:
            caught = re.search(r"SigCgt:\s*([0-9a-f]+)", file.read()).group(1)
        return bool(int(caught, 16) & self.HANDLED)

    def interrupt(self, process):
        """Returns when the program has taken note."""
        while not self.handles_interrupts(process):
            self.assertIsNone(process.poll())
        process.send_signal(signal.SIGINT)
        while self.handles_interrupts(process):
            self.assertIsNone(process.poll())

    def test_one_before_the_walk_has_it_end_as_soon_as_it_can(self):
        self.make_file(b"tree/directory/file")
        pipe = self.place(b"report")
        os.mkfifo(pipe)
        # It waits for a reader of its report before it walks.
        process = self.start("--format=json", b"--output=" + pipe, stderr=subprocess.PIPE)

        self.interrupt(process)
        with open(pipe, "rb") as report:
            catalogue = json.load(report)
        printed, complaint = process.communicate(timeout=300)

        self.assertEqual((process.returncode, printed, complaint), (130, b"", b""))
        self.assertIs(catalogue["interrupted"], True)
        self.assertEqual(catalogue["totals"]["regularFiles"], 0)

    def test_one_while_the_report_is_written_leaves_it_whole(self):
        count = 1000
        for number in range(count):
            self.make_file(b"tree/back\\slash%d" % number)
        process = self.start("--format=json", stderr=subprocess.PIPE)
        # Much of it does not fit into the pipe.
        written = bytearray(4)
        while not any(written):
            fcntl.ioctl(process.stdout, termios.FIONREAD, written)

        self.interrupt(process)
        report, complaint = process.communicate(timeout=300)

        self.assertEqual((process.returncode, complaint), (130, b""))
        catalogue = json.loads(report)
        self.assertNotIn("interrupted", catalogue)
        self.assertEqual(len(catalogue["unreadable"]), count)

    def test_second_one_ends_it_at_once(self):
        terminal, side = pty.openpty()
        # Its first line of progress has the program wait.
        termios.tcflow(side, termios.TCOOFF)
        process = self.start(stderr=side)

        self.interrupt(process)
        process.send_signal(signal.SIGINT)
        report, _ = process.communicate(timeout=300)

        os.close(side)
        os.close(terminal)
        self.assertEqual((process.returncode, report), (-signal.SIGINT, b""))


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
        output = b"'%s' is no name for the report's file"
        threads = b"'%s' is no number of threads: that is from 1 to 1024"
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
            ([b"--threads"], option % b"--threads"),
            ([b"--checksums"], option % b"--checksums"),
            ([b"--plugins"], option % b"--plugins"),
            ([b"--output", b"file"], option % b"--output"),
            ([b"--output="], output % b""),
            ([b"--output=a\\b"], output % b"a\\b"),
            ([b"--output=%HOME%/a"], output % b"%HOME%/a"),
            ([b"--threads="], threads % b""),
            ([b"--threads=0"], threads % b"0"),
            ([b"--threads=-1"], threads % b"-1"),
            ([b"--threads=+1"], threads % b"+1"),
            ([b"--threads=1025"], threads % b"1025"),
            ([b"--threads=2 "], threads % b"2 "),
            ([b"--threads=0x2"], threads % b"0x2"),
            ([b"--threads=99999999999999999999"], threads % b"99999999999999999999"),
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
        options = (b"--format=", b"--threads=", b"--checksum", b"--output=", b"--plugins=", b"--help")
        for option in (*options, b"text", b"csv", b"json"):
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

        shown = self.shown_by()

        self.assertRegex(shown, rb"\r\x1b\[K\d+ entries")
        self.assertTrue(shown.endswith(b"\r\x1b[K"))
        self.assertNotIn(b"\n", shown)

    def shown_by(self, *options):
        terminal, side = pty.openpty()
        with subprocess.Popen(
            [PROGRAM, *options, self.tree], env=ENVIRONMENT, stdout=subprocess.PIPE, stderr=side
        ) as process:
            os.close(side)
            shown = all_shown_on(terminal)
        self.assertEqual(process.returncode, 0)
        return shown

    def test_progress_tells_how_much_has_been_read(self):
        self.make_much_to_read(50)

        shown = self.shown_by("--checksum", "--threads=1")

        self.assertRegex(shown, rb"\r\x1b\[K\d+ entries, \d+ MB read")
        self.assertTrue(shown.endswith(b"\r\x1b[K"))


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
