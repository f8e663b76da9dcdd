#include <ostream>
#include <string>

#include "Json.h"
#include "Report.h"

namespace catalogue {
namespace {

/// Writes a member that is an array, each item on a line of its own.
template <class Range, class WriteItem>
void writeArray(const char* name, const Range& range, std::ostream& out, WriteItem writeItem) {
  out << "  \"" << name << "\": [";
  const char* separator = "\n    ";
  for (const auto& item : range) {
    out << separator;
    writeItem(item);
    separator = ",\n    ";
  }
  out << (range.empty() ? "" : "\n  ") << "],\n";
}

void writeMachine(const Machine& machine, std::ostream& out) {
  out << "  \"system\": {\n"
      << "    \"host\": " << quoteJson(machine.host) << ",\n"
      << "    \"user\": " << quoteJson(machine.user) << ",\n"
      << "    \"processors\": " << machine.processors << ",\n"
      << "    \"release\": " << quoteJson(machine.release) << "\n"
      << "  },\n";
}

void writeTotals(const Totals& totals, std::ostream& out) {
  out << "  \"totals\": {\n"
      << "    \"directories\": " << totals.directories << ",\n"
      << "    \"regularFiles\": " << totals.regularFiles << ",\n"
      << "    \"otherEntries\": " << totals.otherEntries << ",\n"
      << "    \"bytes\": " << totals.bytes << "\n"
      << "  },\n";
}

void writeYears(const Years& years, std::ostream& out) {
  writeArray("byYear", years, out, [&out](const auto& item) {
    const auto& [year, of] = item;
    out << "{\"year\": " << (year ? std::to_string(*year) : "null") << ", \"files\": " << of.files
        << ", \"bytes\": " << of.bytes << '}';
  });
}

std::string quotedOrNull(const std::string& text) {
  return text.empty() ? "null" : quoteJson(text);
}

std::string memberFor(const CatalogueChecksum& method, const std::optional<Checksum>& checksum) {
  return quoteJson(method.name) + ": " + quotedOrNull(digitsOf(checksum));
}

void writeLargest(const std::vector<LargeFile>& files, const CatalogueChecksum* checksum,
                  std::ostream& out) {
  writeArray("largest", files, out, [checksum, &out](const LargeFile& file) {
    out << "{\"path\": " << quoteJson(file.path) << ", \"bytes\": " << file.bytes
        << ", \"date\": " << quotedOrNull(isoDate(file.modified));
    if (checksum) out << ", " << memberFor(*checksum, file.checksum);
    out << '}';
  });
}

void writeUnreadable(const std::vector<Unreadable>& entries, std::ostream& out) {
  writeArray("unreadable", entries, out, [&out](const Unreadable& entry) {
    out << "{\"path\": " << quoteJson(entry.path) << ", \"error\": " << quoteJson(entry.error)
        << ", \"what\": " << quoteJson(entry.what) << ", \"where\": " << quoteJson(entry.where)
        << '}';
  });
}

}  // namespace

void writeJson(const Machine& machine, const Catalogue& catalogue, const Options& options,
               std::ostream& out) {
  out << "{\n  \"run\": \"" << catalogue.run << "\",\n";
  writeMachine(machine, out);
  writeTotals(catalogue.totals, out);
  if (options.checksum) {
    out << "  " << memberFor(*options.checksum, catalogue.checksum) << ",\n";
  }
  writeYears(catalogue.byYear, out);
  writeLargest(catalogue.largest, options.checksum, out);
  writeUnreadable(catalogue.unreadable, out);
  if (catalogue.isInterrupted) out << "  \"interrupted\": true,\n";
  out << "  \"elapsedSeconds\": " << std::to_string(catalogue.elapsedSeconds) << "\n}\n";
}

}  // namespace catalogue
