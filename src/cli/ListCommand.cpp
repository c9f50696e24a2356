#include <algorithm>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "cli/OpenForReading.h"
#include "global/Library.h"
#include "global/modGlobal.h"
#include "maintenance/DatabaseVersion.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FileTools.h"
#include "platform/text/Text.h"

namespace marrowkit::cli {

namespace {

/// Of the frontend's schema, and number of records in Games; Null, with the reason, for a file that cannot be
/// read as a database.
struct Contents {
    jet::Value version;
    jet::Value games;
    std::string failure;
};

/// nullopt for a file that was deleted since the library was searched.
std::optional<double> BytesOf(const std::string& path) {
    try {
        return static_cast<double>(FileLength(path));
    } catch (const RuntimeError&) {
        return std::nullopt;
    }
}

Contents ContentsOf(const std::string& path) {
    Contents contents;
    try {
        const auto database = OpenForReading(path);
        contents.version = GetDatabaseVersion(path);
        if (const auto games = database->FindTable("Games")) {
            contents.games = static_cast<double>(games->RowCount());
        }
    } catch (const RuntimeError& error) {
        contents.failure = error.description;
    }
    return contents;
}

/// By name, so that the order does not depend on the file system.
int RunList(Session& session) {
    if (!FileTools().FolderExists(modGlobal::LibraryRoot)) {
        return session.Fail("There is no such library: " + modGlobal::LibraryRoot);
    }
    std::vector<std::string> names = DatabaseNames();
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b) { return CompareNoCase(a, b) < 0; });
    const auto rows = session.Rows({"Name", "Version", "Games", "Bytes", "Path"});
    for (const std::string& name : names) {
        const std::string path = DatabasePathOf(name);
        const Contents contents = ContentsOf(path);
        if (const auto bytes = BytesOf(path)) {
            rows->Write({name, contents.version, contents.games, *bytes, path});
            if (!contents.failure.empty()) session.Fail(name + ": " + contents.failure);
        }
    }
    rows->Finish();
    if (names.empty() && !session.quiet) {
        session.Err() << "There are no databases in " << modGlobal::LibraryRoot
                      << "; --library DIR or MARROWKIT_LIBRARY names another folder.\n";
    }
    return kDone;
}

}  // namespace

void AddListCommand(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand("list", "The databases of the library");
    command->footer(
        "One row for each folder of the library that holds a database of its own name: the version of its\n"
        "schema, the number of its games, its size. Version and games are missing where the file cannot be\n"
        "read, and standard error says why.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli list\n"
        "  marrowkit-cli list --library ~/.wine/drive_c/Vellora --json");
    command->callback([&session] { session.run = RunList; });
}

}  // namespace marrowkit::cli
