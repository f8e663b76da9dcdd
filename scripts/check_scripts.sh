#!/bin/sh
# Fails where shellcheck objects to a script.
set -eu
cd "$(dirname "$0")/.."
shellcheck --external-sources run test .ci/run benchmarks/run scripts/*.sh
