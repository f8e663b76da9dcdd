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

void writeLargest(const std::vector<LargeFile>& files, std::ostream& out) {
  writeArray("largest", files, out, [&out](const LargeFile& file) {
    const std::string date = isoDate(file.modified);
    out << "{\"path\": " << quoteJson(file.path) << ", \"bytes\": " << file.bytes
        << ", \"date\": " << (date.empty() ? "null" : quoteJson(date)) << '}';
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

void writeJson(const Catalogue& catalogue, std::ostream& out) {
  out << "{\n";
  writeTotals(catalogue.totals, out);
  writeYears(catalogue.byYear, out);
  writeLargest(catalogue.largest, out);
  writeUnreadable(catalogue.unreadable, out);
  out << "  \"elapsedSeconds\": " << std::to_string(catalogue.elapsedSeconds) << "\n}\n";
}

}  // namespace catalogue
