#pragma once

#include <string>

#include "platform/jet/check/CheckFile.h"

namespace marrowkit::jet::compact {

/// Copies an open file into a new one and verifies it; jet::Compact without opening, locks and journal.
/// Throws like jet::Compact. A database password is no obstacle: the copy has the same.
void CopyOpenFile(const check::CheckFile& source, Storage& storage, const std::string& target);

}  // namespace marrowkit::jet::compact
