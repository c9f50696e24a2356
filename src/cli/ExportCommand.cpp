#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "cli/OpenForReading.h"

namespace marrowkit::cli {

namespace {

struct ExportOptions {
    std::string file;
    std::string table;
};

int RunExport(Session& session, const ExportOptions& options) {
    const auto database = OpenForReading(options.file);
    const auto table = database->OpenTable(options.table);
    std::vector<std::string> names;
    for (const jet::Column& column : table->Columns()) names.push_back(column.name);
    std::vector<std::size_t> columns(names.size());
    std::iota(columns.begin(), columns.end(), std::size_t{0});
    const auto rows = session.Rows(names);
    const auto scan = table->OpenScan(columns);
    while (scan->Next()) rows->Write(scan->Values());
    rows->Finish();
    return kDone;
}

}  // namespace

void AddExportCommand(CLI::App& app, Session& session) {
    const auto options = std::make_shared<ExportOptions>();
    CLI::App* command = app.add_subcommand("export", "All rows of a table");
    command->add_option("FILE", options->file, kDatabaseFileHelp)->required();
    command->add_option("TABLE", options->table, "Name of the table, in any case")->required();
    command->footer(
        "Rows come in the order in which they are stored. Memo and OLE values are\n"
        "written whole.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli export Arcade.mdb Games > games.csv\n"
        "  marrowkit-cli export --json Arcade.mdb Genres");
    command->callback([&session, options] {
        session.run = [options](Session& current) {
            return FailOnError(current, [&] { return RunExport(current, *options); });
        };
    });
}

}  // namespace marrowkit::cli
