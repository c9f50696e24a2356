#include "cli/OpenForReading.h"

#include "cli/DatabaseArgument.h"
#include "platform/files/HostPath.h"

namespace marrowkit::cli {

std::shared_ptr<jet::Database> OpenForReading(const std::string& argument) {
    jet::OpenOptions options;
    options.readOnly = true;
    const std::string path = DatabaseOf(argument);
    const std::string host = HostPath(path);
    try {
        return jet::Database::Open(host, options);
    } catch (RuntimeError& error) {
        // The engine knows host paths only.
        const std::size_t at = error.description.find(host);
        if (at != std::string::npos) error.description.replace(at, host.size(), path);
        throw;
    }
}

}  // namespace marrowkit::cli
