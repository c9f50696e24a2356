#include "cli/ImportReportFile.h"

#include <sstream>

#include "platform/files/HostFiles.h"
#include "platform/files/HostPath.h"
#include "platform/text/Text.h"

namespace marrowkit::cli {

std::vector<std::string> ImportReportColumns() {
    return {"Kind", "Line", "Name", "File", "CRC", "Size", "Detail"};
}

void WriteImportReport(const std::vector<ReportRow>& report, RowWriter& rows) {
    for (const ReportRow& row : report) {
        rows.Write({row.kind, row.line ? jet::Value(static_cast<std::int32_t>(*row.line)) : jet::Value(),
                    row.name, row.file, row.crc, row.size ? jet::Value(*row.size) : jet::Value(),
                    row.detail});
    }
    rows.Finish();
}

void WriteImportReport(const std::vector<ReportRow>& report, const std::string& path) {
    std::ostringstream text;
    const RowFormat format = EqualNoCase(Right(path, 5), ".json") ? RowFormat::Json : RowFormat::Csv;
    WriteImportReport(report, *MakeRowWriter(format, text, ImportReportColumns()));
    ReplaceHostFile(HostPath(path), text.str());
}

}  // namespace marrowkit::cli
