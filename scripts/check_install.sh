#!/bin/sh
# Installs a build into a folder of its own, builds and runs tests/consumer against it, and
# has the installed catalogue find its checksums: check_install.sh BUILD_FOLDER COMPILER
set -eu
root=$(CDPATH='' cd -- "$(dirname -- "$0")/.." && pwd)
build=$1
compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
cmake --install "$build" --prefix "$work/first" --component catalogue >/dev/null
# The package may be moved as a whole.
mv "$work/first" "$work/prefix"

# Public headers and nothing else.
cat >"$work/expected" <<EXPECTED
$(for library in QVRBuild QVRSystem ZELKernel; do (cd "$root/$library/include" && ls); done | sort)
EXPECTED
(cd "$work/prefix/include/QVRSystem" && find . -type f | sed 's,^\./,,' | sort) >"$work/installed"
diff "$work/expected" "$work/installed"

cmake -G Ninja -S "$root/tests/consumer" -B "$work/build" -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_BUILD_TYPE=Release
cmake --build "$work/build"
"$work/build/consumer"

for checksum in crc32 sha256; do
  "$work/prefix/bin/catalogue" --checksum=$checksum "$work/prefix/include" | grep "^$checksum "
done
