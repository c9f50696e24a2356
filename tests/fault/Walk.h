#pragma once

#include <string>

#include "platform/jet/storage/Storage.h"

namespace marrowkit::test {

/// Opens the database and reads everything in it, in storage order and along every index. An error of opening
/// comes out; one of a table does not: the next may be well.
void ReadEverything(jet::Storage& storage, const std::string& path);

}  // namespace marrowkit::test
