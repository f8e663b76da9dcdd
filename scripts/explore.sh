#!/bin/sh
# Explores interleavings of the locks (docs/scheduler.md):
#   explore.sh [--schedules N] [--seed N] [--deeper N] [--only TEXT]
set -eu
root=$(CDPATH='' cd -- "$(dirname -- "$0")/.." && pwd)
. "$root/scripts/setup.sh"

need_packages_for_preset release
build release QVRExploreLocks
exec "$root/build/release/tests/scheduler/QVRExploreLocks" "$@"
