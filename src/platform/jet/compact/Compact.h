#pragma once

#include <string>

#include "platform/jet/engine/Database.h"

namespace marrowkit::jet {

/// Writes a compacted copy; see Compact.cpp for what is kept. Throws 3204 when the target
/// exists, 3045 / 3356 when the source is in use, 3049 and others on damage that rows would be lost to.
/// Verifies the copy before returning; on any error the target is removed.
void Compact(const std::string& source, const std::string& target, const OpenOptions& options = {});

}  // namespace marrowkit::jet
