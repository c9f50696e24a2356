#include "cli/Commands.h"

#include <CLI/CLI.hpp>

namespace marrowkit::cli {

namespace {

using AddCommand = void (*)(CLI::App&, Session&);

// clang-format off
constexpr AddCommand kCommands[] = {
    AddListCommand,
    AddShowCommand,
    AddNewCommand,
    AddImportCommand,
    AddMaintenanceCommands,
    AddRecordsCommand,
    AddDeleteRecordCommand,
    AddDeleteCommand,
    AddCheckCommand,
    AddTablesCommand,
    AddSchemaCommand,
    AddExportCommand,
    AddSqlCommand,
    AddCreateTemplateCommand,
    AddCrcCommand,
    AddTosecCommand,
};
// clang-format on

}  // namespace

void AddCommands(CLI::App& app, Session& session) {
    for (const AddCommand add : kCommands) add(app, session);
    for (CLI::App* command : app.get_subcommands(nullptr)) command->group("Commands");
}

}  // namespace marrowkit::cli
