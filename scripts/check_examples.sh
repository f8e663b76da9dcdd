#!/bin/sh
# Compiles the examples in the documents that are whole programs, and plug-ins in C.
set -eu
cd "$(dirname "$0")/.."
folder=build/docs/examples
rm -rf "$folder"
mkdir -p "$folder"
awk -v folder="$folder" '
  FNR == 1 { name = FILENAME; gsub(/[\/.]/, "_", name); number = 0 }
  /^```/ { source = ""; if (/^```(c|cpp)$/) source = folder "/" name "_" ++number "." substr($0, 4); next }
  source != "" { print > source }
' README.md docs/*.md
for source in "$folder"/*.cpp; do
  grep -q 'int main' "$source" || continue
  g++ -std=c++20 -Wall -Wextra -Werror -fsyntax-only \
    -I QVRSystem/include -I QVRBuild/include -I ZELKernel/include "$source"
done
for source in "$folder"/*.c; do
  gcc -std=c99 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I examples/plugins "$source"
done
