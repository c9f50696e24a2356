#pragma once

#include <memory>
#include <string>

#include "cli/Session.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::cli {

/// The line of --help about a command's database file.
inline constexpr const char* kDatabaseFileHelp = "A database file, or a database's name in the library";

/// DatabaseOf(argument) (DatabaseArgument.h). Raises 53, with a description that names the path, when there
/// is no such file: the engine's own words about a missing one speak of servers.
std::string ExistingDatabaseOf(const std::string& argument);

/// Opens a database for the commands that only look: nobody else is kept from anything, and no write
/// permission is needed. Writes nothing, with one exception: a flush that another process was interrupted in
/// is undone first, which raises 3051 without that permission, and 3045 while a stranger uses the file.
std::shared_ptr<jet::Database> OpenForReading(const std::string& argument);

/// Runs a command's work; an error of the runtime or of DAO becomes its message and exit code 1.
template <typename Work>
int FailOnError(Session& session, Work&& work) {
    try {
        return work();
    } catch (const RuntimeError& error) {
        return session.Fail(error.description);
    }
}

}  // namespace marrowkit::cli
