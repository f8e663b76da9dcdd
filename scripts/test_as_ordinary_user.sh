#!/bin/sh
# Runs the tests of a build once more without root's rights: as nobody, in a copy
# that nobody can reach and write to. Does nothing where the caller is no root.
#   test_as_ordinary_user.sh BUILD_FOLDER
set -eu
build=$(CDPATH='' cd -- "$1" && pwd)
if [ "$(id -u)" -ne 0 ]; then
  echo "Not root: the tests ran as an ordinary user already"
  exit
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/build" "$work/tmp"
tar -C "$build" --exclude='*.o' --exclude='*.ninja' -cf - . | tar -C "$work/build" -xf -
find "$work/build" -name '*.cmake' -exec sed -i "s,$build,$work/build,g" {} +
chown -R nobody:nogroup "$work"
cd "$work"
setpriv --reuid=nobody --regid=nogroup --clear-groups --inh-caps=-all \
  env HOME="$work" TMPDIR="$work/tmp" LD_LIBRARY_PATH="$work/build/lib" \
  ctest --test-dir build --parallel "$(nproc)" --label-exclude check --output-on-failure \
  --exclude-regex '^Shared[.]' --no-tests=error
