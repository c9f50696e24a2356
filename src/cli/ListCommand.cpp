#include <algorithm>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "platform/files/FileSystem.h"
#include "platform/text/Text.h"
#include "shell/Library.h"

namespace marrowkit::cli {

namespace {

/// By name, so that the order does not depend on the file system.
int RunList(Session& session) {
    std::vector<std::string> names = DatabaseNames();
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b) { return CompareNoCase(a, b) < 0; });
    const auto rows = session.Rows({"Name", "Bytes", "Path"});
    for (const std::string& name : names) {
        const std::string path = DatabasePathOf(name);
        rows->Write({name, static_cast<double>(FileLength(path)), path});
    }
    rows->Finish();
    return kDone;
}

}  // namespace

void AddListCommand(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand("list", "The databases of the library");
    command->footer(
        "One row for each folder of the library that holds a database of its own name.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli list\n"
        "  marrowkit-cli list --library ~/.wine/drive_c/Vellora --json");
    command->callback([&session] { session.run = RunList; });
}

}  // namespace marrowkit::cli
