#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace marrowkit {

enum class TreeImage { Vellora, Access, Folder, IniFile, TextFile, Own };

/// A node of the library tree. Its key tells what it is: "ROOT", the full path of a database folder (with a
/// final "\"), of a database file or of a side file; the three folder nodes below a database have the
/// database's name, a blank and their caption.
struct LibraryNode {
    std::string key;
    std::string text;
    TreeImage image = TreeImage::Vellora;
    std::string ownImagePath;  ///< the picture file of TreeImage::Own
    std::vector<LibraryNode> children;
};

inline constexpr std::string_view kRootKey = "ROOT";
/// What the status bar says while nothing else is to be said.
inline constexpr std::string_view kTreeHint = "Right-Click each Node for options";

/// Reads the tree from the disk. Its databases are those of global/Library.h, in the file system's order.
/// Makes the Scripts folder of a database that lacks it, and raises the error when that fails.
LibraryNode ReadLibraryTree();

/// The node with this key, compared exactly; nullptr when there is none.
const LibraryNode* FindNode(const LibraryNode& root, std::string_view key);

/// The context menus of the tree.
enum class NodeMenu { None, Root, DatabaseFolder, Database, ScriptFolder };

/// Which menu a node pops up. `parentKey` is empty for the root.
NodeMenu MenuOfNode(std::string_view key, std::string_view parentKey);

enum class DoubleClickAction { Nothing, OpenDatabase, OpenFile };

DoubleClickAction DoubleClickOnNode(std::string_view key, std::string_view parentKey);

}  // namespace marrowkit
