#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "cli/OpenForReading.h"
#include "maintenance/DatabaseVersion.h"
#include "platform/files/FileSystem.h"
#include "platform/text/Text.h"
#include "shell/Library.h"

namespace marrowkit::cli {

namespace {

/// Version and number of games; both Null for a file that is no database.
struct DatabaseFacts {
    jet::Value version;
    jet::Value games;
};

DatabaseFacts FactsOf(const std::string& path) {
    DatabaseFacts facts;
    try {
        const auto database = OpenForReading(path);
        if (const auto games = database->FindTable("Games")) {
            facts.games = static_cast<std::int32_t>(games->RowCount());
        }
        facts.version = GetDatabaseVersion(path);
    } catch (const RuntimeError&) {
        return facts;
    }
    return facts;
}

/// By name, so that the order does not depend on the file system.
int RunList(Session& session) {
    std::vector<std::string> names = DatabaseNames();
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b) { return CompareNoCase(a, b) < 0; });
    const auto rows = session.Rows({"Name", "Version", "Games", "Bytes", "Path"});
    for (const std::string& name : names) {
        const std::string path = DatabasePathOf(name);
        const DatabaseFacts facts = FactsOf(path);
        rows->Write({name, facts.version, facts.games, static_cast<double>(FileLength(path)), path});
    }
    rows->Finish();
    return kDone;
}

}  // namespace

void AddListCommand(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand("list", "The databases of the library");
    command->footer(
        "One row for each folder of the library that holds a database of its own name. A file that cannot "
        "be\n"
        "read as a database has neither version nor games.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli list\n"
        "  marrowkit-cli list --library ~/.wine/drive_c/Vellora --json");
    command->callback([&session] { session.run = RunList; });
}

}  // namespace marrowkit::cli
