// The reports on a catalogue.
#pragma once

#include <iosfwd>

#include "Catalogue.h"
#include "Options.h"

namespace catalogue {

void writeReport(const Catalogue& catalogue, Format format, std::ostream& out);

// One for each format; docs/catalogue.md describes them.
void writeText(const Catalogue& catalogue, std::ostream& out);
void writeCsv(const Catalogue& catalogue, std::ostream& out);
void writeJson(const Catalogue& catalogue, std::ostream& out);

/// As year-month-day; empty where the date is invalid.
std::string isoDate(const QVRSysDate& date);

}  // namespace catalogue
