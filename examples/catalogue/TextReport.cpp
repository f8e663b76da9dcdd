#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Printable.h"
#include "QVRMessage.h"
#include "Report.h"

namespace catalogue {
namespace {

constexpr char kSource[] = "examples/catalogue/TextReport";

constexpr unsigned kLabelWidth = 16;
constexpr unsigned kDateWidth = 10;
constexpr unsigned kCountWidth = 12;
constexpr unsigned kBytesWidth = 20;

QVRMessage row(const wchar16* format, int line) { return {format, kSource, line}; }

// As with paths below, the value comes apart from the message.
void writeFact(const wchar16* label, const std::string& value, std::ostream& out) {
  QVRMessage message = row(u"%1", __LINE__);
  message << QVRSetWidth(kLabelWidth) << QVRSetAlignment(QVRMsgBase::AlignLeft) << label;
  out << message << printable(value) << '\n';
}

void writeHeader(const QVRUUID& run, const Machine& machine, std::ostream& out) {
  writeFact(u"run", run.toString(), out);
  writeFact(u"host", machine.host, out);
  writeFact(u"user", machine.user, out);
  writeFact(u"processors", std::to_string(machine.processors), out);
  writeFact(u"system", "release " + machine.release, out);
  out << '\n';
}

template <class Label, class Value>
void writeTotal(const Label& label, const Value& value, std::ostream& out) {
  QVRMessage message = row(u"%1%2\n", __LINE__);
  message << QVRSetWidth(kLabelWidth) << QVRSetAlignment(QVRMsgBase::AlignLeft) << label
          << QVRSetWidth(kBytesWidth) << value;
  out << message;
}

void writeTotals(const Totals& totals, std::ostream& out) {
  writeTotal(u"directories", totals.directories, out);
  writeTotal(u"regular files", totals.regularFiles, out);
  writeTotal(u"other entries", totals.otherEntries, out);
  writeTotal(u"bytes", totals.bytes, out);
}

template <class Number>
void writeYear(const std::string& year, const Number& files, const Number& bytes,
               std::ostream& out) {
  QVRMessage message = row(u"%1%2%3\n", __LINE__);
  message << QVRSetWidth(kDateWidth) << year << QVRSetWidth(kCountWidth) << files
          << QVRSetWidth(kBytesWidth) << bytes;
  out << message;
}

void writeYears(const Years& years, std::ostream& out) {
  if (years.empty()) return;
  out << '\n';
  writeYear<std::string>("year", "files", "bytes", out);
  for (const auto& [year, of] : years) {
    writeYear(year ? std::to_string(*year) : "unknown", of.files, of.bytes, out);
  }
}

std::string orUnknown(const std::string& text) { return text.empty() ? "unknown" : text; }

/// The column of checksums.
struct Column {
  std::string title;
  unsigned width;
};

std::optional<Column> columnFor(const CatalogueChecksum* checksum) {
  if (!checksum) return std::nullopt;
  const std::string title = printableInLocale(checksum->name);
  const std::size_t digits = 2 * checksum->digestSize;
  return Column{title,
                static_cast<unsigned>(std::max({title.size(), digits, orUnknown("").size()}))};
}

// The path comes apart from the message, since no locale need be able to read it.
template <class Bytes>
void writeFile(const Bytes& bytes, const std::string& date, const std::optional<Column>& column,
               const std::string& checksum, const std::string& path, std::ostream& out) {
  QVRMessage message = row(column ? u"%1  %2  %3  " : u"%1  %2  ", __LINE__);
  message << QVRSetWidth(kBytesWidth) << bytes << QVRSetAlignment(QVRMsgBase::AlignLeft)
          << QVRSetWidth(kDateWidth) << date;
  if (column) {
    message << QVRSetAlignment(QVRMsgBase::AlignLeft) << QVRSetWidth(column->width) << checksum;
  }
  out << message << path << '\n';
}

void writeLargest(const std::vector<LargeFile>& files, const std::optional<Column>& column,
                  std::ostream& out) {
  if (files.empty()) return;
  out << '\n';
  writeFile(u"bytes", "date", column, column ? column->title : "", "largest files", out);
  for (const LargeFile& file : files) {
    writeFile(file.bytes, orUnknown(isoDate(file.modified)), column,
              orUnknown(digitsOf(file.checksum)), printable(file.path), out);
  }
}

void writeUnreadable(const std::vector<Unreadable>& entries, std::ostream& out) {
  if (entries.empty()) return;
  out << "\nnot readable: " << entries.size() << '\n';
  for (const Unreadable& entry : entries) {
    out << "  " << printable(entry.path) << '\n'
        << "    " << entry.error << ": " << printable(entry.what) << '\n'
        << "    at " << entry.where << '\n';
  }
}

}  // namespace

void writeText(const Machine& machine, const Catalogue& catalogue, const Options& options,
               std::ostream& out) {
  writeHeader(catalogue.run, machine, out);
  writeTotals(catalogue.totals, out);
  const std::optional<Column> column = columnFor(options.checksum);
  if (column) writeTotal(column->title, orUnknown(digitsOf(catalogue.checksum)), out);
  writeYears(catalogue.byYear, out);
  writeLargest(catalogue.largest, column, out);
  writeUnreadable(catalogue.unreadable, out);

  if (catalogue.isInterrupted) out << "\ninterrupted: this is what was found up to then\n";
  QVRMessage elapsed = row(u"\nelapsed: %1 s\n", __LINE__);
  elapsed << std::to_string(catalogue.elapsedSeconds);
  out << elapsed;
}

}  // namespace catalogue
