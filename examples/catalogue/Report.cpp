#include "Report.h"

#include "QVRTraceCall.h"
#include "QVRTraceLog.h"

namespace catalogue {

void writeReport(const Catalogue& catalogue, Format format, std::ostream& out) {
  const QVRTraceCall trace(QVRSystemTrace, "catalogue: report");
  switch (format) {
    case Format::Text:
      return writeText(catalogue, out);
    case Format::Csv:
      return writeCsv(catalogue, out);
    case Format::Json:
      return writeJson(catalogue, out);
  }
}

std::string isoDate(const QVRSysDate& date) { return date.isValid() ? date.toString('F') : ""; }

}  // namespace catalogue
