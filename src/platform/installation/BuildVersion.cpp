#include "platform/installation/BuildVersion.h"

#include "Commit.h"

namespace marrowkit {

std::string BuildVersionText() {
    return "Marrowkit " MK_VERSION " (commit " MK_COMMIT ")";
}

}  // namespace marrowkit
