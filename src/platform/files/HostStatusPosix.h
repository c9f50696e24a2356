#pragma once

#include <sys/stat.h>

#include "platform/files/HostFiles.h"

namespace marrowkit::posix {

HostStatus ToStatus(const struct stat& info);

}  // namespace marrowkit::posix
