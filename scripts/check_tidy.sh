#!/bin/sh
# Fails where clang-tidy objects to a source of the libraries. Needs the clang
# preset to have been configured.
set -eu
cd "$(dirname "$0")/.."

# Each source as the libraries compile it: tests compile some of them again.
mkdir -p build/clang/tidy
python3 - <<'END'
import json

with open("build/clang/compile_commands.json") as file:
    commands = json.load(file)
with open("build/clang/tidy/compile_commands.json", "w") as file:
    json.dump([c for c in commands if " -o tests/" not in c["command"]], file)
END

run-clang-tidy-14 -quiet -p build/clang/tidy -j "$(nproc)" \
  "^$PWD/(QVRSystem|QVRBuild|ZELKernel|examples)/.*\.cpp\$"
