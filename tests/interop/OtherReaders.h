#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "interop/Exports.h"

namespace marrowkit::test {

/// The standard output of a program; nullopt when it could not be run or failed.
std::optional<std::string> RunProgram(const std::vector<std::string>& command);

/// mdb-tables and mdb-export.
bool HaveMdbTools();
std::vector<std::string> MdbToolsTables(const std::filesystem::path& file);
ExportedTable MdbToolsExport(const std::filesystem::path& file, const std::string& table);

/// The npm package mdb-reader, run by Node.js; the build installs it beside the tests. Empty text: it is
/// there; else why it is not.
std::string WhyNoMdbReader();
std::vector<ExportedTable> MdbReaderExport(const std::filesystem::path& file);

}  // namespace marrowkit::test
