/* A checksum as somebody may write it who has nothing but the header: the sum of all bytes. */
#include <stdint.h>

#include "CataloguePlugin.h"

static void begin(void* state) { *(uint16_t*)state = 0; }

static void update(void* state, const void* bytes, size_t size) {
  const unsigned char* byte = bytes;
  uint16_t* sum = state;
  while (size-- > 0) *sum = (uint16_t)(*sum + *byte++);
}

static void end(const void* state, unsigned char* digest) {
  const uint16_t* sum = state;
  digest[0] = (unsigned char)(*sum >> 8);
  digest[1] = (unsigned char)*sum;
}

static void combine(void* state, const void* next) {
  uint16_t* sum = state;
  *sum = (uint16_t)(*sum + *(const uint16_t*)next);
}

const struct CatalogueChecksum* catalogueChecksum(void) {
  static const struct CatalogueChecksum table = {
      .version = CATALOGUE_PLUGIN_VERSION,
      .name = "sum",
      .digestSize = 2,
      .stateSize = sizeof(uint16_t),
      .begin = begin,
      .update = update,
      .end = end,
      .combine = combine,
  };
  return &table;
}
