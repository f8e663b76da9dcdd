// The reports on a catalogue.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "Catalogue.h"
#include "Machine.h"
#include "Options.h"

namespace catalogue {

/// @param options those that the catalogue was made with.
void writeReport(const Machine& machine, const Catalogue& catalogue, const Options& options,
                 std::ostream& out);

// One for each format; docs/catalogue.md describes them.
void writeText(const Machine& machine, const Catalogue& catalogue, const Options& options,
               std::ostream& out);
void writeCsv(const Machine& machine, const Catalogue& catalogue, const Options& options,
              std::ostream& out);
void writeJson(const Machine& machine, const Catalogue& catalogue, const Options& options,
               std::ostream& out);

/// As year-month-day; empty where the date is invalid.
std::string isoDate(const QVRSysDate& date);

/// Empty where there is none.
std::string digitsOf(const std::optional<Checksum>& checksum);

}  // namespace catalogue
