#!/usr/bin/env python3
"""Compares what the built libraries export with the committed lists.

Usage: check_exports.py BUILD_FOLDER [--write]. The list of a library is
LIBRARY/exports.txt; --write brings it up to date. The lists are those of gcc's
optimised build. Objects stand in cmake/exported-data.list besides.
"""

import difflib
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIBRARIES = {"QVRBuild": "QVR", "QVRSystem": "QVR", "ZELKernel": "ZEL"}
DATA_LIST = ROOT / "cmake" / "exported-data.list"
CODE = "TWi"  # nm's letters; others are those of objects
OF_A_CLASS = ("typeinfo ", "vtable ", "VTT ", "construction vtable ")
SHORT_NAMES = {
    r"\[abi:cxx11\]": "",
    r"std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> ?>": "std::string",
    r"std::__cxx11::basic_string<char16_t, std::char_traits<char16_t>, std::allocator<char16_t> ?>":
        "std::u16string",
    r"std::__cxx11::list<QVROSPath, std::allocator<QVROSPath> ?>": "std::list<QVROSPath>",
    r"std::basic_string_view<char, std::char_traits<char> ?>": "std::string_view",
    r"std::basic_string_view<char16_t, std::char_traits<char16_t> ?>": "std::u16string_view",
    r"std::basic_ostream<char, std::char_traits<char> ?>": "std::ostream",
    r"std::basic_filebuf<char, std::char_traits<char> ?>": "std::filebuf",
    r"std::basic_streambuf<char, std::char_traits<char> ?>": "std::streambuf",
}


def exported(library):
    """Pairs of nm's letter and the demangled name."""
    listing = subprocess.run(
        ["nm", "--dynamic", "--defined-only", "--demangle", library],
        check=True, capture_output=True, text=True).stdout
    return [line.split(maxsplit=2)[1:] for line in listing.splitlines()]


def names_of(symbols):
    """Sorted; the twins of a constructor or destructor are one name."""
    return sorted({readable(name) for _, name in symbols})


def objects_of(symbols):
    return {name for letter, name in symbols
            if letter not in CODE and not name.startswith(OF_A_CLASS)}


def readable(name):
    for pattern, short in SHORT_NAMES.items():
        name = re.sub(pattern, short, name)
    return name


def is_own(name, prefix):
    """Whether the name itself is the library's, or that of an operator on its classes."""
    head = re.sub(r"[<(].*|::operator .*", "", name)
    return "std::" not in head and prefix in (name if head.startswith("operator") else head).upper()


def check(library, prefix, symbols, write):
    names = names_of(symbols)
    committed = ROOT / library / "exports.txt"
    if write:
        committed.write_text("".join(f"{name}\n" for name in names))
    foreign = [f"{library} exports {name}" for name in names if not is_own(name, prefix)]
    expected = committed.read_text().splitlines()
    listed = committed.relative_to(ROOT).as_posix()
    return foreign + list(difflib.unified_diff(expected, names, listed, library, lineterm="", n=0))


def check_objects(objects):
    """One that is not listed would be another in a program that has a copy than in its library."""
    listed = set(re.findall(r"[\w:]+(?=;)", re.sub(r"/\*.*?\*/", "", DATA_LIST.read_text(), flags=re.S)))
    name = DATA_LIST.relative_to(ROOT).as_posix()
    return ([f"{name} lacks {missing}" for missing in sorted(objects - listed)]
            + [f"{name} has {gone}, which is not exported" for gone in sorted(listed - objects)])


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--write"]
    if len(arguments) != 1:
        sys.exit(__doc__)
    build = pathlib.Path(arguments[0])
    differences = []
    objects = set()
    for library, prefix in LIBRARIES.items():
        symbols = exported(build / "lib" / f"lib{library}.so")
        differences += check(library, prefix, symbols, "--write" in sys.argv)
        objects |= objects_of(symbols)
    differences += check_objects(objects)
    for difference in differences:
        print(difference)
    if differences:
        sys.exit("If this is meant: scripts/check_exports.py build/release --write")


if __name__ == "__main__":
    main()
