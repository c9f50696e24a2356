#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "cli/OpenForReading.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/HostPath.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::cli {

namespace {

struct CheckOptions {
    std::vector<std::string> files;
    std::size_t maxProblems = 1000;
};

int RunCheck(Session& session, const CheckOptions& options) {
    const auto rows = session.json ? session.Rows({"File", "Table", "Page", "Problem"}) : nullptr;
    int exitCode = kDone;
    for (const std::string& file : options.files) {
        std::vector<jet::Problem> problems;
        try {
            problems = jet::Check(HostPath(ExistingDatabaseOf(file)), options.maxProblems);
        } catch (const RuntimeError& error) {
            exitCode = session.Fail(file + ": " + error.description);
            continue;
        }
        for (const jet::Problem& problem : problems) {
            if (rows) {
                rows->Write({file, problem.table, static_cast<std::int32_t>(problem.page), problem.what});
            } else {
                session.Out() << file << ": " << problem.ToText() << "\n";
            }
        }
        if (!problems.empty()) exitCode = kFailed;
        if (problems.empty() && !session.quiet) session.Err() << file << ": no problems found\n";
        if (problems.size() == options.maxProblems && !session.quiet) {
            session.Err() << file << ": there may be more problems; --max shows them\n";
        }
    }
    if (rows) rows->Finish();
    return exitCode;
}

}  // namespace

void AddCheckCommand(CLI::App& app, Session& session) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App* command = app.add_subcommand("check", "Looks for damage in databases");
    command->add_option("FILE", options->files, "Database files, or names of databases in the library")
        ->required();
    command->add_option("--max", options->maxProblems, "The most problems to list for a file")
        ->check(CLI::Range(1, 1'000'000))
        ->capture_default_str();
    command->footer(
        "Reads a whole file and holds its parts against each other: the use of every page, rows and index\n"
        "entries, memos and pictures, relationships. Writes one line for each problem and ends\n"
        "with 1 when there is one. The file is only read, also while somebody works with it; what is being\n"
        "written at that moment may look like damage.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli check Arcade.mdb\n"
        "  marrowkit-cli check --quiet ~/Vellora/*/*.mdb && echo all well");
    command->callback([&session, options] {
        session.run = [options](Session& current) { return RunCheck(current, *options); };
    });
}

}  // namespace marrowkit::cli
