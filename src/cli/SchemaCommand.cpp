#include <memory>
#include <ostream>
#include <string>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "cli/OpenForReading.h"
#include "cli/SchemaText.h"

namespace marrowkit::cli {

void AddSchemaCommand(CLI::App& app, Session& session) {
    const auto file = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("schema", "Tables, indexes and relationships of a database");
    command->add_option("FILE", *file, kDatabaseFileHelp)->required();
    command->footer(
        "Written as the SQL that would make it; what SQL has no words for stands in\n"
        "comments. With --json the document is complete.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli schema Arcade.mdb\n"
        "  marrowkit-cli schema --json Arcade.mdb");
    command->callback([&session, file] {
        session.run = [file](Session& current) {
            return FailOnError(current, [&] {
                const auto database = OpenForReading(*file);
                current.Out() << (current.json ? SchemaAsJson(*database) : SchemaAsSql(*database));
                return static_cast<int>(kDone);
            });
        };
    });
}

}  // namespace marrowkit::cli
