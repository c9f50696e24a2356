#pragma once

#include <string>

#include "platform/jet/engine/Database.h"

/// mdbtools as a second reader of our files.
namespace marrowkit::jet::test::MdbTools {

bool IsInstalled();

/// Compares every cell of a table with what mdb-export prints. Its known differences are allowed for: it
/// shows empty texts as Null, cuts texts and binaries at a zero byte, does not know dates before 1899-12-30,
/// drops a GUID's last hyphen (and prints its text in hexadecimal), and lists moved rows where their data
/// lies (so rows are compared as a set).
void ExpectSameCells(const std::string& path, const Table& table);

}  // namespace marrowkit::jet::test::MdbTools
