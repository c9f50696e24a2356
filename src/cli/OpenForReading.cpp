#include "cli/OpenForReading.h"

#include "cli/DatabaseArgument.h"
#include "platform/files/HostPath.h"
#include "platform/jet/format/ShownPaths.h"

namespace marrowkit::cli {

std::shared_ptr<jet::Database> OpenForReading(const std::string& argument) {
    jet::OpenOptions options;
    options.readOnly = true;
    const std::string path = DatabaseOf(argument);
    const std::string host = HostPath(path);
    jet::ShowPathAs(host, path);
    return jet::Database::Open(host, options);
}

}  // namespace marrowkit::cli
