#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace marrowkit {

/// Never a database, whatever it holds: the frontend's own folder.
inline constexpr std::string_view kFrontendDocumentsFolder = "Docs";

/// The names of the databases below LibraryRoot: of its sub-folders that hold a database file of their own
/// name, except for "Docs", which is the frontend's. In the file system's order.
std::vector<std::string> DatabaseNames();

/// `LibraryRoot` & name & "\" & name & ".mdb": also the key of the database file's node in the library tree.
std::string DatabasePathOf(std::string_view name);

}  // namespace marrowkit
