#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "cli/DatabaseArgument.h"
#include "cli/OpenForReading.h"
#include "maintenance/DatabaseVersion.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FileTools.h"
#include "platform/files/FolderSearch.h"
#include "platform/files/Paths.h"
#include "platform/text/Numbers.h"
#include "platform/text/Text.h"

namespace marrowkit::cli {

namespace {

void WriteFiles(RowWriter& rows, const std::string& folder, const std::string& below) {
    for (const FoundFile& entry : ListFolder(folder)) {
        if (entry.IsFolder()) {
            WriteFiles(rows, folder + "\\" + entry.name, below + entry.name + "\\");
        } else {
            rows.Write(
                {"file", below + entry.name, static_cast<double>(FileLength(folder + "\\" + entry.name))});
        }
    }
}

/// A database file that lies anywhere else has no files of its own beside it.
bool IsInFolderOfItsName(const std::string& path) {
    return EqualNoCase(FileNameOf(path), FileNameOf(WithoutFinalBackslash(FolderOf(path))) + ".mdb");
}

int RunShow(Session& session, const std::string& argument) {
    const std::string path = ExistingDatabaseOf(argument);
    const auto database = OpenForReading(path);
    const auto rows = session.Rows({"Kind", "Name", "Value"});
    rows->Write({"database", path, jet::Null()});
    rows->Write({"format", database->Version() == jet::JetVersion::Jet3 ? "Jet 3" : "Jet 4", jet::Null()});
    rows->Write({"version", SingleToText(GetDatabaseVersion(path)), jet::Null()});
    for (const std::string& table : database->TableNames()) {
        rows->Write({"table", table, static_cast<double>(database->OpenTable(table)->RowCount())});
    }
    if (IsInFolderOfItsName(path)) WriteFiles(*rows, FolderOf(path), "");
    rows->Finish();
    return kDone;
}

}  // namespace

void AddShowCommand(CLI::App& app, Session& session) {
    const auto database = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("show", "Tables and files of a database");
    command->add_option("DB", *database, kDatabaseHelp)->required();
    command->footer(
        "One row for each table with its number of records, and for each file in the database's folder with\n"
        "its size in bytes; a file that lies in no folder of its name is shown alone.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli show Arcade");
    command->callback([&session, database] {
        session.run = [database](Session& current) {
            return FailOnError(current, [&] { return RunShow(current, *database); });
        };
    });
}

}  // namespace marrowkit::cli
