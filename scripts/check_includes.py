#!/usr/bin/env python3
"""Holds every #include of the library to docs/layers.md.

Usage: check_includes.py [ROOT]. Prints one line per violation.
"""

import fnmatch
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
UMBRELLA = "QVRSystem.h"
SYSTEM_HEADER_FOLDERS = ("QVRSystem/platform/posix", "QVRBuild/src", "ZELKernel/src")
# Each with its reason in docs/layers.md.
SYSTEM_HEADERS_ELSEWHERE = {
    ("QVRClassInfo.cpp", "cxxabi.h"),
    ("QVRFreeBlock.h", "sanitizer/asan_interface.h"),
    ("QVRFreeBlock.h", "valgrind/memcheck.h"),
    ("QVROSPath.cpp", "sys/stat.h"),
    ("QVRUtf8.cpp", "sys/platform/x86.h"),
}

# Standard C++20 headers, those of the C library in their C++ form.
STANDARD = set(
    """
    algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv
    chrono cinttypes climits clocale cmath codecvt compare complex concepts condition_variable
    coroutine csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar
    cwctype deque exception execution filesystem forward_list fstream functional future
    initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map
    memory memory_resource mutex new numbers numeric optional ostream queue random ranges ratio
    regex scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept
    stop_token streambuf string string_view strstream syncstream system_error thread tuple
    type_traits typeindex typeinfo unordered_map unordered_set utility valarray variant vector
    version
    """.split()
)
# The compiler's, for sources only.
VECTOR = {"arm_neon.h", "immintrin.h"}


class Layer:
    def __init__(self, name, patterns, includes):
        self.name = name
        self.patterns = patterns
        self.includes = includes

    def owns(self, path):
        """Patterns with a slash mean files below QVRSystem/, others a file's stem."""
        below = path.as_posix().removeprefix("QVRSystem/")
        return any(
            fnmatch.fnmatchcase(below if "/" in pattern else path.stem, pattern)
            for pattern in self.patterns
        )


def read_layers(table):
    """The rows of the table, and one for each of the two libraries beside ours."""
    layers = {}
    for line in table.read_text().splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if not line.startswith("|") or len(cells) != 3 or cells[0] in ("layer", "---"):
            continue
        includes = [name.strip() for name in cells[2].split(",") if name.strip()]
        layers[cells[0]] = Layer(cells[0], re.findall(r"`([^`]+)`", cells[1]), includes)
    for library in ("QVRBuild", "ZELKernel"):
        layers[library] = Layer(library, [], [])
    for layer in layers.values():
        unknown = [name for name in layer.includes if name not in layers]
        if unknown:
            sys.exit(f"{table}: {layer.name} names no layer with {', '.join(unknown)}")
    return layers


def reachable(layer, layers):
    """The layer's own name and those that it may include, short names resolved."""
    names = {layer.name}
    for name in layer.includes:
        names |= {name} if layers[name].patterns else reachable(layers[name], layers)
    return names


class Checker:
    def __init__(self, root):
        self.root = root
        self.layers = read_layers(root / "docs/layers.md")
        self.violations = []
        folders = ("QVRSystem", "QVRBuild", "ZELKernel")
        self.files = sorted(
            path.relative_to(root)
            for folder in folders
            for path in (root / folder).rglob("*")
            if path.suffix in (".h", ".cpp", ".def")
        )
        self.by_name = {path.name: path for path in self.files}

    def layer_of(self, path):
        """None for a file that has no layer or more than one."""
        if path.parts[0] != "QVRSystem":
            return self.layers[path.parts[0]]
        owners = [layer for layer in self.layers.values() if layer.owns(path)]
        return owners[0] if len(owners) == 1 else None

    def report(self, path, number, text):
        self.violations.append(f"{path}:{number}: {text}")

    def check_foreign_header(self, path, number, name):
        allowed = (
            name in STANDARD
            or (name in VECTOR and path.suffix == ".cpp")
            or path.as_posix().startswith(SYSTEM_HEADER_FOLDERS)
            or (path.name, name) in SYSTEM_HEADERS_ELSEWHERE
        )
        if not allowed:
            self.report(path, number, f"<{name}> does not belong here")

    def check_own_header(self, path, number, name):
        target = self.by_name.get(pathlib.PurePath(name).name)
        if target is None:
            self.report(path, number, f'"{name}" is no header of the project')
        elif target.name == UMBRELLA:
            self.report(path, number, f"{UMBRELLA} is for callers")
        else:
            source, included = self.layer_of(path), self.layer_of(target)
            if source and included and included.name not in reachable(source, self.layers):
                self.report(path, number, f'{source.name} may not include {included.name} ("{name}")')

    def check_file(self, path):
        if path.name == UMBRELLA:
            return
        if self.layer_of(path) is None:
            self.report(path, 1, "belongs to no single layer of docs/layers.md")
        for number, line in enumerate((self.root / path).read_text().splitlines(), 1):
            match = INCLUDE.match(line)
            if match and match[1] == "<":
                self.check_foreign_header(path, number, match[2])
            elif match:
                self.check_own_header(path, number, match[2])

    def check_umbrella(self):
        folder = pathlib.Path("QVRSystem/include")
        text = (self.root / folder / UMBRELLA).read_text()
        included = {match[2] for match in map(INCLUDE.match, text.splitlines()) if match}
        public = {p.name for p in self.files if p.parent == folder and p.suffix == ".h"}
        for name in sorted(public - included - {UMBRELLA}):
            self.report(folder / UMBRELLA, 1, f'"{name}" is missing')
        for name in sorted(included - public):
            self.report(folder / UMBRELLA, 1, f'"{name}" is no public header')

    def run(self):
        for path in self.files:
            self.check_file(path)
        self.check_umbrella()
        return self.violations


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent)
    checker = Checker(root.resolve())
    for violation in checker.run():
        print(violation)
    if checker.violations:
        sys.exit(f"{len(checker.violations)} includes break docs/layers.md")
    print(f"{len(checker.files)} files include only what docs/layers.md allows")


if __name__ == "__main__":
    main()
