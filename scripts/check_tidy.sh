#!/bin/sh
# Fails where clang-tidy objects to a source of the libraries. Needs the clang
# preset to have been configured.
set -eu
cd "$(dirname "$0")/.."
run-clang-tidy-14 -quiet -p build/clang -j "$(nproc)" \
  "^$PWD/(QVRSystem|QVRBuild|ZELKernel|examples)/.*\.cpp\$"
