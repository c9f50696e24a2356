#pragma once

#include <filesystem>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "global/modGlobal.h"
#include "import/ImportSettings.h"
#include "import/ImportTables.h"
#include "import/RecordingProgress.h"
#include "maintenance/FrontendDatabase.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "support/RecordingUserInterface.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {

/// A library whose Empty.mdb is a database of the frontend without games, and the settings of an import into
/// its new database "Fresh".
class ImportFixture : public testing::Test {
protected:
    explicit ImportFixture(jet::JetVersion format = jet::JetVersion::Jet4) : database(2, 5, format) {
        modGlobal::LibraryRoot = database.LibraryRoot();
        std::filesystem::copy_file(database.HostFile(), Library("Empty.mdb"));
        settings.DatabaseName = "Fresh";
        settings.NewFolderPath = database.LibraryRoot() + "Fresh";
        settings.NewFolderPathSlash = settings.NewFolderPath + "\\";
        settings.RomPathSlash = "\\";
    }

    std::filesystem::path Library(const std::string& name) const { return database.LibraryFolder() / name; }

    /// A datafile of these bytes, or of these lines of games.
    void Datafile(const std::string& bytes) {
        WriteFile(folder / "games.dat", bytes);
        settings.DatafilePath = WindowsPath((folder / "games.dat").string());
    }
    void Games(const std::string& lines) { Datafile("[DAT]\r\nversion=2.00\r\n[GAMES]\r\n" + lines); }

    /// An empty ROM folder, to be scanned.
    void Roms() {
        settings.ScanForRoms = true;
        std::filesystem::create_directories(folder / "roms");
        settings.RomPath = WindowsPath((folder / "roms").string());
        settings.RomPathSlash = WithFinalBackslash(settings.RomPath);
    }

    void IntoExisting() {
        settings.ImportIntoExisting = true;
        settings.ExistingDatabasePath = database.Path();
        settings.NewFolderPath = settings.NewFolderPathSlash = "";
    }

    /// The first column, texts, of what a statement finds in the new database.
    std::vector<std::string> FreshRows(const std::string& sql) const {
        dao::Database fresh = dao::DBEngine().OpenDatabase(settings.NewFolderPath + "\\Fresh.mdb");
        dao::Recordset rows = fresh.OpenRecordset(sql);
        std::vector<std::string> values;
        for (; !rows.EOF_(); rows.MoveNext()) values.push_back(std::get<std::string>(rows.Fields(0).Value()));
        return values;
    }

    FrontendDatabase database;
    TemporaryFolder folder;
    ImportSettings settings;
    ImportTables tables;
    RecordingProgress progress;
    RecordingUserInterface ui;
};

}  // namespace marrowkit::test
