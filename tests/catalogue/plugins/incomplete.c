/* A plug-in that does not say what it can do. */
#include "CataloguePlugin.h"

const struct CatalogueChecksum* catalogueChecksum(void) {
  static const struct CatalogueChecksum table = {.version = CATALOGUE_PLUGIN_VERSION,
                                                 .name = "incomplete"};
  return &table;
}
