#!/bin/sh
# Writes the pages of the public headers to build/docs/html. Fails where doxygen
# warns; that a member needs no words is for its author to judge. Then compiles the
# examples of the other documents.
set -eu
cd "$(dirname "$0")/.."
mkdir -p build/docs
doxygen docs/Doxyfile
if grep -v 'warning: Member .* is not documented' build/docs/warnings.txt; then
  echo "doxygen warns of the above" >&2
  exit 1
fi
scripts/check_examples.sh
