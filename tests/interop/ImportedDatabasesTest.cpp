// Every published datafile, imported into a new database of either format: sound by our own check, read alike
// by mdbtools and mdb-reader, and holding what a second reader makes of the datafile.

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "creation/TemplateDatabase.h"
#include "global/modGlobal.h"
#include "import/ImportEngine.h"
#include "import/ImportOptions.h"
#include "import/RecordingProgress.h"
#include "interop/Exports.h"
#include "interop/OtherReaders.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "platform/jet/check/Check.h"
#include "platform/text/Utf8.h"
#include "support/RecordingUserInterface.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

namespace marrowkit::test {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kNameCharacters = 255;

std::vector<std::string> SplitAt(const std::string& text, char end) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, end);) parts.push_back(part);
    return parts;
}

/// What the second reader makes of a datafile: name, file name, CRC, size. Empty when a size ends the import.
std::optional<std::vector<std::vector<std::string>>> SecondReading(const fs::path& datafile) {
    const auto output =
        RunProgram({MARROWKIT_PYTHON, MARROWKIT_READ_DATAFILE, datafile.string(), "3", "5", "0", "0"});
    if (!output) throw std::runtime_error("the second reader failed");
    std::vector<std::vector<std::string>> entries;
    for (const std::string& entry : SplitAt(*output, '\x1e')) {
        if (entry == "!13") return std::nullopt;
        entries.push_back(SplitAt(entry, '\x1f'));
    }
    return entries;
}

class ImportedDatabases : public testing::TestWithParam<jet::JetVersion> {
protected:
    void SetUp() override {
        MARROWKIT_NEED_TEST_DATA();
        modGlobal::LibraryRoot = WithFinalBackslash(WindowsPath(library_.Path().string()));
        CreateTemplateDatabase((library_ / "Empty.mdb").string(), GetParam(), kNewestSchemaVersion);
    }

    /// The new database's file; nothing when the import failed.
    std::optional<fs::path> Import(const fs::path& datafile) {
        fs::remove_all(library_ / "New");
        ImportSettings settings;
        settings.DatafilePath = WindowsPath(datafile.string());
        settings.TosecNames = NamesTosec(datafile.filename().string());
        settings.DatabaseName = "New";
        settings.NewFolderPath = modGlobal::LibraryRoot + "New";
        settings.NewFolderPathSlash = settings.NewFolderPath + "\\";
        ImportTables tables;
        RecordingProgress progress;
        ui_.messages.clear();
        try {
            if (!RunImport(settings, tables, progress, ui_)) return std::nullopt;
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 13);
            return std::nullopt;
        }
        EXPECT_TRUE(ui_.messages.empty());
        return library_ / "New" / "New.mdb";
    }

    TemporaryFolder library_;
    RecordingUserInterface ui_;
};

const OwnTable& TableOf(const std::vector<OwnTable>& tables, const std::string& name) {
    return *std::find_if(tables.begin(), tables.end(),
                         [&](const OwnTable& table) { return table.name == name; });
}

std::string TextOf(const jet::Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    return std::to_string(std::get<std::int32_t>(value));
}

/// Names in TOSEC datafiles are cut by the parser, which has a second reader of its own.
void ExpectAsRead(const OwnTable& games, const std::vector<std::vector<std::string>>& entries, bool tosec) {
    std::array<std::size_t, 4> columns{};
    constexpr std::array kColumns = {"Name", "Filename", "CRC", "Filesize"};
    for (std::size_t i = 0; i < columns.size(); ++i) {
        columns[i] = static_cast<std::size_t>(
            std::find(games.columns.begin(), games.columns.end(), kColumns[i]) - games.columns.begin());
        ASSERT_LT(columns[i], games.columns.size());
    }
    auto row = games.rows.begin();
    for (const std::vector<std::string>& entry : entries) {
        if (entry[0].empty()) continue;
        ASSERT_NE(row, games.rows.end());
        if (!tosec) {
            ASSERT_EQ(TextOf((*row)[columns[0]]), FirstCharacters(entry[0], kNameCharacters));
        }
        for (std::size_t i = 1; i < columns.size(); ++i) ASSERT_EQ(TextOf((*row)[columns[i]]), entry[i]);
        ++row;
    }
    EXPECT_EQ(row, games.rows.end());
}

TEST_P(ImportedDatabases, HoldWhatTheDatafilesSayForEveryReader) {
    if (!HaveMdbTools()) GTEST_SKIP() << "mdbtools is not installed";
    const bool withMdbReader = WhyNoMdbReader().empty();
    int imported = 0;
    int refused = 0;
    for (const fs::path& datafile : SampleFiles("datafiles", ".dat")) {
        SCOPED_TRACE(datafile.filename().string());
        const auto entries = SecondReading(datafile);
        const auto file = Import(datafile);
        if (!entries || entries->empty()) {
            EXPECT_FALSE(file);
            EXPECT_FALSE(fs::exists(library_ / "New"));
            ++refused;
            continue;
        }
        ASSERT_TRUE(file);
        ++imported;
        for (const jet::Problem& problem : jet::Check(file->string())) ADD_FAILURE() << problem.ToText();
        const std::vector<OwnTable> own = ReadOwnTables(*file);
        ExpectAsRead(TableOf(own, "Games"), *entries, NamesTosec(datafile.filename().string()));
        for (const char* table : {"Games", "Publishers", "Crackers", "Languages"}) {
            EXPECT_EQ(Difference(TableOf(own, table), MdbToolsExport(*file, table), Reader::MdbTools), "")
                << table;
        }
        // JSON of the largest takes that program a minute.
        constexpr std::size_t kMostGames = 20'000;
        if (!withMdbReader || entries->size() > kMostGames) continue;
        for (const ExportedTable& table : MdbReaderExport(*file)) {
            if (table.name.starts_with("MSys")) continue;
            EXPECT_EQ(Difference(TableOf(own, table.name), table, Reader::MdbReader), "") << table.name;
        }
    }
    EXPECT_GE(imported, 20);
    EXPECT_GE(refused, 3);
}

INSTANTIATE_TEST_SUITE_P(Formats, ImportedDatabases,
                         testing::Values(jet::JetVersion::Jet3, jet::JetVersion::Jet4),
                         [](const auto& format) {
                             return format.param == jet::JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::test
