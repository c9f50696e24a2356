#pragma once

#include "platform/jet/check/CheckFile.h"
#include "platform/jet/check/CheckReport.h"

namespace marrowkit::jet::check {

/// The whole verification of an open file; jet::Check without the opening. A database password is no
/// obstacle: it guards nothing but the door.
void CheckOpenFile(const CheckFile& file, CheckReport& report);

}  // namespace marrowkit::jet::check
