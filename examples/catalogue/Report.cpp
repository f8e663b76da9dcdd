#include "Report.h"

#include "QVRTraceCall.h"
#include "QVRTraceLog.h"

namespace catalogue {

void writeReport(const Machine& machine, const Catalogue& catalogue, const Options& options,
                 std::ostream& out) {
  const QVRTraceCall trace(QVRSystemTrace, "catalogue: report");
  switch (options.format) {
    case Format::Text:
      return writeText(machine, catalogue, options, out);
    case Format::Csv:
      return writeCsv(machine, catalogue, options, out);
    case Format::Json:
      return writeJson(machine, catalogue, options, out);
  }
}

std::string isoDate(const QVRSysDate& date) { return date.isValid() ? date.toString('F') : ""; }

std::string digitsOf(const std::optional<Checksum>& checksum) {
  return checksum ? checksum->toString() : "";
}

}  // namespace catalogue
