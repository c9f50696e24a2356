#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "cli/OpenForReading.h"

namespace marrowkit::cli {

namespace {

struct TablesOptions {
    std::string file;
    bool system = false;
};

int RunTables(Session& session, const TablesOptions& options) {
    const auto database = OpenForReading(options.file);
    const auto rows = session.Rows({"Name", "Rows", "Columns", "Indexes"});
    for (const std::string& name : database->TableNames(options.system)) {
        const auto table = database->OpenTable(name);
        rows->Write({name, static_cast<double>(table->RowCount()),
                     static_cast<std::int32_t>(table->Columns().size()),
                     static_cast<std::int32_t>(table->Indexes().size())});
    }
    rows->Finish();
    return kDone;
}

}  // namespace

void AddTablesCommand(CLI::App& app, Session& session) {
    const auto options = std::make_shared<TablesOptions>();
    CLI::App* command = app.add_subcommand("tables", "The tables of a database file");
    command->add_option("FILE", options->file, kDatabaseFileHelp)->required();
    command->add_flag("--system", options->system, "Show the system's tables, too");
    command->footer(
        "Any Jet 3 or Jet 4 database will do. Linked tables and queries are not shown.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli tables Arcade.mdb\n"
        "  marrowkit-cli tables --system --json Arcade.mdb");
    command->callback([&session, options] {
        session.run = [options](Session& current) {
            return FailOnError(current, [&] { return RunTables(current, *options); });
        };
    });
}

}  // namespace marrowkit::cli
