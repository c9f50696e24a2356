#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "cli/DatabaseArgument.h"
#include "creation/CreateDatabase.h"

namespace marrowkit::cli {

namespace {

int RunNew(Session& session, const std::string& name) {
    if (const std::string objection = ObjectionToDatabaseName(name); !objection.empty())
        return session.Fail(objection);
    const Creation creation = CreateNewDatabase(session.Ui(), [&name] { return std::optional(name); });
    if (creation.result == CreationResult::Incomplete) return session.Fail(creation.errorText);
    if (creation.result != CreationResult::Created) return kFailed;
    const auto rows = session.Rows({"Name", "Folder"});
    rows->Write({name, creation.nodeKey});
    rows->Finish();
    return kDone;
}

}  // namespace

void AddNewCommand(CLI::App& app, Session& session) {
    const auto name = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("new", "Makes a new, empty database");
    command->add_option("NAME", *name, "Name of the new database")->required();
    command->footer(
        "The library gets a folder of that name with a copy of Empty.mdb and the side files that the\n"
        "frontend looks for. A folder that exists is never touched. 'create-template' makes an Empty.mdb.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli new Arcade\n"
        "  marrowkit-cli --library ~/.wine/drive_c/Vellora new \"Tape games\"");
    command->callback([&session, name] {
        session.run = Session::Changing([name](Session& current) { return RunNew(current, *name); });
    });
}

}  // namespace marrowkit::cli
