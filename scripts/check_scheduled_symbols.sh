#!/bin/sh
# Fails where a program with scenarios exports a class of the library or takes one
# from it that is compiled into the program, as that of the scheduler:
#   check_scheduled_symbols.sh PROGRAM
set -eu
symbols=$(nm --dynamic --demangle "${1:?a program is missing}")
if echo "$symbols" | grep -E 'QVR(Sys[A-Z]|Atomic|Spin|Readers)|qvr::'; then
  echo "The above must not be dynamic symbols of $1" >&2
  exit 1
fi
