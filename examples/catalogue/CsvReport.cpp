#include <cstddef>
#include <initializer_list>
#include <ostream>
#include <string>

#include "Report.h"

namespace catalogue {
namespace {

constexpr std::size_t kColumns = 8;
constexpr char kHeader[] = "record,name,value,bytes,date,error,what,where\n";

void writeField(const std::string& field, std::ostream& out) {
  if (field.find_first_of(",\"\r\n") == field.npos) {
    out << field;
    return;
  }
  out << '"';
  for (const char c : field) {
    if (c == '"') out << '"';
    out << c;
  }
  out << '"';
}

/// The columns at the end that are not given are empty.
void writeRecord(std::initializer_list<std::string> fields, std::ostream& out) {
  const char* separator = "";
  for (const std::string& field : fields) {
    out << separator;
    writeField(field, out);
    separator = ",";
  }
  out << std::string(kColumns - fields.size(), ',') << '\n';
}

void writeMachine(const Machine& machine, std::ostream& out) {
  writeRecord({"system", "host", machine.host}, out);
  writeRecord({"system", "user", machine.user}, out);
  writeRecord({"system", "processors", std::to_string(machine.processors)}, out);
  writeRecord({"system", "release", machine.release}, out);
}

void writeTotals(const Totals& totals, std::ostream& out) {
  writeRecord({"total", "directories", std::to_string(totals.directories)}, out);
  writeRecord({"total", "regularFiles", std::to_string(totals.regularFiles)}, out);
  writeRecord({"total", "otherEntries", std::to_string(totals.otherEntries)}, out);
  writeRecord({"total", "bytes", std::to_string(totals.bytes)}, out);
}

void writeYears(const Years& years, std::ostream& out) {
  for (const auto& [year, of] : years) {
    const std::string name = year ? std::to_string(*year) : "";
    writeRecord({"year", name, std::to_string(of.files), std::to_string(of.bytes)}, out);
  }
}

void writeLargest(const std::vector<LargeFile>& files, std::ostream& out) {
  for (const LargeFile& file : files) {
    writeRecord({"largest", file.path, digitsOf(file.checksum), std::to_string(file.bytes),
                 isoDate(file.modified)},
                out);
  }
}

void writeUnreadable(const std::vector<Unreadable>& entries, std::ostream& out) {
  for (const auto& [path, error, what, where] : entries) {
    writeRecord({"unreadable", path, "", "", "", error, what, where}, out);
  }
}

}  // namespace

void writeCsv(const Machine& machine, const Catalogue& catalogue, const Options& options,
              std::ostream& out) {
  out << kHeader;
  writeRecord({"run", "uuid", catalogue.run.toString()}, out);
  writeMachine(machine, out);
  writeTotals(catalogue.totals, out);
  if (options.checksum) {
    writeRecord({"checksum", options.checksum->name, digitsOf(catalogue.checksum)}, out);
  }
  writeYears(catalogue.byYear, out);
  writeLargest(catalogue.largest, out);
  writeUnreadable(catalogue.unreadable, out);
  if (catalogue.isInterrupted) writeRecord({"interrupted"}, out);
  writeRecord({"elapsed", "seconds", std::to_string(catalogue.elapsedSeconds)}, out);
}

}  // namespace catalogue
