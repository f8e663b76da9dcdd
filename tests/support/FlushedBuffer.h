// Sees how often a stream is flushed.
#pragma once

#include <streambuf>

/// The buffer of a stream; holds nothing.
struct FlushedBuffer : std::streambuf {
  int overflow(int c) override { return c; }
  int sync() override { return ++flushes, 0; }
  int flushes = 0;
};
