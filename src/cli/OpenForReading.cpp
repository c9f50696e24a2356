#include "cli/OpenForReading.h"

#include "cli/DatabaseArgument.h"
#include "platform/files/HostPath.h"

namespace marrowkit::cli {

std::shared_ptr<jet::Database> OpenForReading(const std::string& argument) {
    jet::OpenOptions options;
    options.readOnly = true;
    return jet::Database::Open(HostPath(DatabaseOf(argument)), options);
}

}  // namespace marrowkit::cli
