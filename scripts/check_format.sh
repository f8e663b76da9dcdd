#!/bin/sh
# Fails where clang-format would lay out a source otherwise.
set -eu
cd "$(dirname "$0")/.."
git ls-files -z '*.c' '*.h' '*.cpp' | xargs -0 clang-format-14 --dry-run --Werror
