#include "maintenance/LibraryTree.h"

#include <utility>

#include "global/Library.h"
#include "global/modGlobal.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FileTools.h"
#include "platform/files/FolderSearch.h"
#include "platform/text/Text.h"

namespace marrowkit {

namespace {

constexpr std::string_view kIniFolder = " INI Files";
constexpr std::string_view kScriptFolder = " Korvo Scripts";
constexpr std::string_view kTextFolder = " Text Files";

/// One of the three folder nodes: its caption is the key's end without the blank.
LibraryNode FolderNode(const std::string& name, std::string_view keyEnd) {
    LibraryNode node;
    node.key = name + std::string(keyEnd);
    node.text = keyEnd.substr(1);
    node.image = TreeImage::Folder;
    return node;
}

void AddFiles(LibraryNode& parent, const std::string& folder, std::string_view pattern, TreeImage image) {
    const std::string start = folder + '\\';
    for (std::string& file : ListFilesByPattern(folder, pattern)) {
        LibraryNode node;
        node.key = start + file;
        node.text = std::move(file);
        node.image = image;
        parent.children.push_back(std::move(node));
    }
}

LibraryNode DatabaseNode(const std::string& name) {
    const std::string folder = modGlobal::LibraryRoot + name;
    const FileTools files;

    LibraryNode node;
    node.key = folder + '\\';
    node.text = name;
    std::string icon = folder + "\\Gfx\\Startup_32x32.gif";
    if (files.FileExists(icon, 0, "")) {
        node.image = TreeImage::Own;
        node.ownImagePath = std::move(icon);
    }

    LibraryNode database;
    database.text = name + ".mdb";
    database.key = DatabasePathOf(name);
    database.image = TreeImage::Access;

    LibraryNode iniFolder = FolderNode(name, kIniFolder);
    AddFiles(iniFolder, folder, "*.ini", TreeImage::IniFile);
    LibraryNode textFolder = FolderNode(name, kTextFolder);
    AddFiles(textFolder, folder, "*.txt", TreeImage::TextFile);
    LibraryNode scriptFolder = FolderNode(name, kScriptFolder);
    const std::string scripts = folder + "\\Scripts";
    if (!files.FolderExists(scripts)) MakeFolder(scripts);
    AddFiles(scriptFolder, scripts, "*.txt", TreeImage::TextFile);

    node.children.push_back(std::move(database));
    node.children.push_back(std::move(iniFolder));
    node.children.push_back(std::move(scriptFolder));
    node.children.push_back(std::move(textFolder));
    return node;
}

}  // namespace

LibraryNode ReadLibraryTree() {
    LibraryNode root;
    root.key = kRootKey;
    root.text = "Velloras";
    for (const std::string& name : DatabaseNames()) root.children.push_back(DatabaseNode(name));
    return root;
}

const LibraryNode* FindNode(const LibraryNode& root, std::string_view key) {
    if (root.key == key) return &root;
    for (const LibraryNode& child : root.children) {
        if (const LibraryNode* found = FindNode(child, key)) return found;
    }
    return nullptr;
}

NodeMenu MenuOfNode(std::string_view key, std::string_view parentKey) {
    if (key == kRootKey) return NodeMenu::Root;
    if (parentKey == kRootKey) return NodeMenu::DatabaseFolder;
    if (key.ends_with(kIniFolder) || key.ends_with(kTextFolder)) return NodeMenu::None;
    if (key.ends_with(kScriptFolder)) return NodeMenu::ScriptFolder;
    if (LCase(Right(key, 4)) == ".mdb") return NodeMenu::Database;
    return NodeMenu::None;
}

DoubleClickAction DoubleClickOnNode(std::string_view key, std::string_view parentKey) {
    if (key.empty() || key == kRootKey || parentKey == kRootKey) return DoubleClickAction::Nothing;
    if (LCase(Right(key, 4)) == ".mdb") return DoubleClickAction::OpenDatabase;
    for (const std::string_view folder : {kIniFolder, kTextFolder, kScriptFolder}) {
        if (parentKey.ends_with(folder)) return DoubleClickAction::OpenFile;
    }
    return DoubleClickAction::Nothing;
}

}  // namespace marrowkit
