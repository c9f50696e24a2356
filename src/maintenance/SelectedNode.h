#pragma once

#include <string>

namespace marrowkit {

/// The selected node of the library tree, as far as an operation looks at it.
struct SelectedNode {
    std::string key;         ///< full path of the database file or folder; empty: no node is selected
    std::string text;        ///< caption
    std::string parentKey;   ///< of a database file: its folder's path, which ends in "\"
    std::string parentText;  ///< of a database file: the database's name as the frontend knows it
};

}  // namespace marrowkit
