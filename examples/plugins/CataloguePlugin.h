// What the catalogue program asks of a checksum in a shared library. Plain C.
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The version that this header describes. Programs and plug-ins of other versions do not fit.
#define CATALOGUE_PLUGIN_VERSION 1

/// A checksum: constant, there as long as the library is loaded.
///
/// A run of bytes on its way through is a state. The program gives each its storage, aligned for
/// any type, copies it byte by byte, and drops it without a word. It uses different states on
/// different threads at once, and one state on one at a time. No function may fail, throw or
/// wait for anything.
struct CatalogueChecksum {
  uint32_t version;   ///< CATALOGUE_PLUGIN_VERSION; stays the first member in all versions
  const char* name;   ///< what reports call it
  size_t digestSize;  ///< bytes, at least 1; reports have two hexadecimal digits of each
  size_t stateSize;   ///< bytes, at least 1

  /// Makes the state of no bytes.
  void (*begin)(void* state);
  /// Adds bytes behind those before; perhaps none.
  void (*update)(void* state, const void* bytes, size_t size);
  /// Writes the checksum of the bytes so far.
  void (*end)(const void* state, unsigned char* digest);

  /// Adds all bytes that `next` has been given behind those of `state`. Null if the checksums of
  /// parts do not make that of the whole; then the program reads all contents in their order, on
  /// one thread.
  void (*combine)(void* state, const void* next);
  /// Adds so many bytes that are 0, much sooner than update() would; null if that cannot be. Lets
  /// the program pass by the holes of files.
  void (*addZeros)(void* state, uint64_t count);
};

/// The one function that a plug-in has to export. @return never null.
__attribute__((visibility("default"))) const struct CatalogueChecksum* catalogueChecksum(void);

/// Its name.
#define CATALOGUE_CHECKSUM_SYMBOL "catalogueChecksum"

#ifdef __cplusplus
}
#endif
