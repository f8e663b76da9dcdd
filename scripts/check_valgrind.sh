#!/bin/sh
# Fails where Valgrind does not report the use of a block that went back to a pool, in a
# build that tells it of free blocks (QVR_VALGRIND), or reports anything else.
set -eu
cd "$(dirname "$0")/.."
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT

# What a pool needs of the library; the linker drops what it does not.
g++ -std=c++20 -O1 -g1 -DQVR_VALGRIND -ffunction-sections -fdata-sections -Wl,--gc-sections \
  -I. -IQVRBuild/include -IZELKernel/include -IQVRSystem/include -o "$directory/program" \
  tests/QVRSystemUtilsMD.m/QVRValgrindProgram.cpp \
  QVRSystem/QVRSystemUtilsMD.m/src/QVRBlockAllocator.cpp \
  QVRSystem/QVRSystemUtilsMD.m/src/QVRPoolAllocator.cpp \
  QVRSystem/QVRThreadsMD.m/src/QVRSysFastMutexLock.cpp QVRSystem/internal/*.cpp \
  QVRSystem/platform/posix/QVRPlatformMutex.cpp QVRSystem/platform/posix/QVRPlatformThread.cpp \
  QVRBuild/src/QVRAssert.cpp

reported=3
memcheck() {
  status=0
  valgrind --quiet --leak-check=full --error-exitcode=$reported --log-file="$directory/log" \
    "$directory/program" "$@" || status=$?
}

memcheck keep
if [ "$status" -ne 0 ]; then
  echo "A block in use is reported, or the program fails ($status):" >&2
  cat "$directory/log" >&2
  exit 1
fi
memcheck free
if [ "$status" -ne "$reported" ] || ! grep -q 'Invalid read of size 1' "$directory/log"; then
  echo "Reading a free block is not reported ($status):" >&2
  cat "$directory/log" >&2
  exit 1
fi
