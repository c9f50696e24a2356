#include "cli/OpenForReading.h"

#include "cli/DatabaseArgument.h"
#include "platform/files/FileTools.h"
#include "platform/files/HostPath.h"
#include "platform/jet/format/ShownPaths.h"

namespace marrowkit::cli {

std::string ExistingDatabaseOf(const std::string& argument) {
    std::string path = DatabaseOf(argument);
    if (FileTools().FileExists(path, 0, "")) return path;
    throw RuntimeError(static_cast<int>(RuntimeErrorNumber::FileNotFound), "Could not find file: " + path);
}

std::shared_ptr<jet::Database> OpenForReading(const std::string& argument) {
    jet::OpenOptions options;
    options.readOnly = true;
    const std::string path = ExistingDatabaseOf(argument);
    const std::string host = HostPath(path);
    jet::ShowPathAs(host, path);
    return jet::Database::Open(host, options);
}

}  // namespace marrowkit::cli
