#pragma once

#include <string>
#include <vector>

#include "platform/jet/storage/Storage.h"

namespace marrowkit::test {

/// Opens the database and reads everything in it, in storage order and along every index. An error of opening
/// comes out; one of a table does not: the next may be well.
void ReadEverything(jet::Storage& storage, const std::string& path);

/// Opens the database and, in each of its tables, changes a row, adds a copy of one and deletes one. Changes
/// may be refused; returns how many were made. Anything but a numbered error goes to `ills`.
int WriteSomething(jet::Storage& storage, const std::string& path, std::vector<std::string>& ills);

}  // namespace marrowkit::test
