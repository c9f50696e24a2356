#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "cli/DatabaseArgument.h"
#include "cli/OpenForReading.h"
#include "maintenance/ClearGameExtras.h"
#include "maintenance/CompactDatabase.h"
#include "maintenance/FixNullData.h"
#include "maintenance/RemoveCustomViews.h"

namespace marrowkit::cli {

namespace {

/// An operation of the database file's menu.
struct Operation {
    const char* command;
    const char* description;
    const char* footer;
    bool (*run)(UserInterface&, const SelectedNode&);
};

constexpr Operation kOperations[] = {
    {"fix", "Repairs data that the frontend stumbles over",
     "Scans and fixes: replaces Nulls by neutral values and length types that the frontend does not know by "
     "19.\n"
     "\n"
     "Examples:\n"
     "  marrowkit-cli fix Arcade",
     ScanAndFixErrors},
    {"compact", "Rewrites a database file without its unused space",
     "Nothing is replaced unless the compacted file holds the same number of games.\n"
     "\n"
     "Examples:\n"
     "  marrowkit-cli compact Arcade\n"
     "  marrowkit-cli compact ~/old/Arcade/Arcade.mdb",
     CompactWithBusyDisplay},
    {"clear-extras", "Unlinks all extra files from all games",
     "The files themselves stay. Asks first; --yes answers.\n"
     "\n"
     "Examples:\n"
     "  marrowkit-cli clear-extras Arcade\n"
     "  marrowkit-cli --yes clear-extras Arcade",
     ClearGameExtras},
    {"remove-views", "Deletes all custom views and their filters",
     "Also resets the frontend's count of quick filters for this database. Asks first; --yes answers.\n"
     "\n"
     "Examples:\n"
     "  marrowkit-cli remove-views Arcade",
     RemoveCustomViews},
};

}  // namespace

void AddMaintenanceCommands(CLI::App& app, Session& session) {
    for (const Operation& operation : kOperations) {
        const auto database = std::make_shared<std::string>();
        CLI::App* command = app.add_subcommand(operation.command, operation.description);
        command->add_option("DB", *database, kDatabaseHelp)->required();
        command->footer(operation.footer);
        command->callback([&session, database, run = operation.run] {
            session.run = Session::Changing([database, run](Session& current) -> int {
                SelectedNode node;
                const int understood = FailOnError(current, [&] {
                    node = DatabaseNode(*database);
                    return kDone;
                });
                if (understood != kDone) return understood;
                return run(current.Ui(), node) ? kDone : kFailed;
            });
        });
    }
}

}  // namespace marrowkit::cli
