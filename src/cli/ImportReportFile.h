#pragma once

#include <string>
#include <vector>

#include "cli/RowWriter.h"
#include "import/ImportReport.h"

namespace marrowkit::cli {

/// Columns of an import's report.
std::vector<std::string> ImportReportColumns();

/// Writes the rows and finishes.
void WriteImportReport(const std::vector<ReportRow>& report, RowWriter& rows);

/// The same into a file (a path of the host or of Windows), which is replaced: JSON for a name that ends in
/// ".json", CSV otherwise. Raises the error of a file that cannot be written.
void WriteImportReport(const std::vector<ReportRow>& report, const std::string& path);

}  // namespace marrowkit::cli
