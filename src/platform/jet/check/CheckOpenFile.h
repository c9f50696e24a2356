#pragma once

#include "platform/jet/check/CheckFile.h"
#include "platform/jet/check/CheckReport.h"
#include "platform/jet/check/CheckTable.h"

namespace marrowkit::jet::check {

/// The whole verification of an open file; jet::Check without the opening. A database password is no
/// obstacle: it guards nothing but the door.
/// The observer, if there is one, sees every row that could be read.
void CheckOpenFile(const CheckFile& file, CheckReport& report, RowObserver* observer = nullptr);

}  // namespace marrowkit::jet::check
