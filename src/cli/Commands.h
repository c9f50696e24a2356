#pragma once

#include "cli/Session.h"

namespace CLI {
class App;
}

// The commands of marrowkit-cli. To add one:
//
//  1. Write src/cli/XyzCommand.cpp with a function `void AddXyzCommand(CLI::App& app, Session& session)`. It
//     adds a subcommand with a one-line description, its options and a footer with examples, and gives it a
//     callback that sets session.run. CrcCommand.cpp is one to copy. The options live in a shared_ptr that
//     the callback holds.
//  2. Declare the function below, and add it to the list in Commands.cpp at the place where --help shows it.
//  3. Name the file in CMakeLists.txt.
//
// An argument DB goes through DatabaseOf (DatabaseArgument.h).
//
// session.run does the work and returns an ExitCode. It writes results with session.Rows(...) (or, for other
// JSON documents, session.Out()), gives session.Ui() to operations that ask or tell something, and reports
// its own failures with `return session.Fail("...")`. A RuntimeError that it does not catch becomes the
// fatal-error report and exit code 70.

namespace marrowkit::cli {

void AddListCommand(CLI::App& app, Session& session);
void AddNewCommand(CLI::App& app, Session& session);
void AddTablesCommand(CLI::App& app, Session& session);
void AddSchemaCommand(CLI::App& app, Session& session);
void AddCheckCommand(CLI::App& app, Session& session);
void AddExportCommand(CLI::App& app, Session& session);
void AddCreateTemplateCommand(CLI::App& app, Session& session);
void AddCrcCommand(CLI::App& app, Session& session);
void AddDeleteCommand(CLI::App& app, Session& session);
void AddDeleteRecordCommand(CLI::App& app, Session& session);
void AddImportCommand(CLI::App& app, Session& session);
void AddMaintenanceCommands(CLI::App& app, Session& session);
void AddRecordsCommand(CLI::App& app, Session& session);
void AddShowCommand(CLI::App& app, Session& session);
void AddSqlCommand(CLI::App& app, Session& session);
void AddTosecCommand(CLI::App& app, Session& session);

/// All of them, in the order of the list.
void AddCommands(CLI::App& app, Session& session);

}  // namespace marrowkit::cli
