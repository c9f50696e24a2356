#pragma once

#include <cstdint>

#include "platform/jet/format/Value.h"

namespace marrowkit::jet {

/// A value of an AutoNumber column of the random kind.
std::int32_t RandomAutoNumber();

/// A random (version 4) GUID, for columns of type Replication ID.
Guid RandomGuid();

}  // namespace marrowkit::jet
