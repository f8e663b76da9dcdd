#!/bin/sh
# Fails where a library talks to the address sanitizer or to Valgrind, as only builds
# for them may.
#
# Usage: check_unwatched.sh LIBRARY
set -eu

if nm --undefined-only "$1" | grep -E ' __(asan|sanitizer)_'; then
  echo "$1 calls the address sanitizer" >&2
  exit 1
fi
# The end of what Valgrind knows its requests by, which does nothing elsewhere.
if objdump --disassemble --no-show-raw-insn "$1" | grep -E 'xchg +%rbx,%rbx|orr +x10, x10, x10'; then
  echo "$1 makes requests to Valgrind" >&2
  exit 1
fi
