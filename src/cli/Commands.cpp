#include "cli/Commands.h"

namespace marrowkit::cli {

namespace {

using AddCommand = void (*)(CLI::App&, Session&);

constexpr AddCommand kCommands[] = {
    AddListCommand,
    AddNewCommand,
    AddCheckCommand,
    AddTablesCommand,
    AddSchemaCommand,
    AddExportCommand,
    AddSqlCommand,
    AddCreateTemplateCommand,
    AddCrcCommand,
    AddTosecCommand,
};

}  // namespace

void AddCommands(CLI::App& app, Session& session) {
    for (const AddCommand add : kCommands) add(app, session);
}

}  // namespace marrowkit::cli
