#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "global/Library.h"
#include "global/modGlobal.h"
#include "maintenance/DeleteDatabaseFolder.h"
#include "platform/text/Text.h"

namespace marrowkit::cli {

namespace {

/// Only folders that the library shows as databases: a path, or the name of any other folder, is not taken.
int RunDelete(Session& session, const std::string& name) {
    const std::vector<std::string> names = DatabaseNames();
    const auto found = std::find_if(names.begin(), names.end(), [&](const std::string& candidate) {
        return EqualNoCase(candidate, name);
    });
    if (found == names.end())
        return session.Fail("There is no database of that name in the library: " + name);
    SelectedNode folder;
    folder.key = modGlobal::LibraryRoot + *found + "\\";
    folder.text = *found;
    return DeleteDatabaseFolder(session.Ui(), folder) ? kDone : kFailed;
}

}  // namespace

void AddDeleteCommand(CLI::App& app, Session& session) {
    const auto name = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("delete", "Deletes a database with its whole folder");
    command->add_option("DB", *name, "A database's name in the library")->required();
    command->footer(
        "Everything in the folder goes, and does not come back. Asks first; --yes answers.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli delete Arcade");
    command->callback([&session, name] {
        session.run = Session::Changing([name](Session& current) { return RunDelete(current, *name); });
    });
}

}  // namespace marrowkit::cli
