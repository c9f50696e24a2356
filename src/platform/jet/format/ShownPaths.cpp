#include "platform/jet/format/ShownPaths.h"

#include <map>
#include <mutex>

namespace marrowkit::jet {

namespace {

std::mutex mutex;

std::map<std::string, std::string, std::less<>>& ShownByHostPath() {
    static std::map<std::string, std::string, std::less<>> shown;
    return shown;
}

/// With the separator at its end; empty without one.
std::string_view FolderOf(std::string_view path) {
    return path.substr(0, path.find_last_of("/\\") + 1);
}

}  // namespace

void ShowPathAs(const std::string& hostPath, std::string_view shown) {
    const std::scoped_lock lock(mutex);
    ShownByHostPath().insert_or_assign(hostPath, shown);
}

std::string ShownPath(const std::string& hostPath) {
    const std::scoped_lock lock(mutex);
    const auto& known = ShownByHostPath();
    if (const auto file = known.find(hostPath); file != known.end()) return file->second;
    const std::string_view folder = FolderOf(hostPath);
    if (folder.empty()) return hostPath;
    // Paths of one folder stand together, behind the folder's own.
    for (auto file = known.lower_bound(folder); file != known.end() && file->first.starts_with(folder);
         ++file) {
        if (FolderOf(file->first) != folder) continue;
        return std::string(FolderOf(file->second)).append(hostPath, folder.size());
    }
    return hostPath;
}

}  // namespace marrowkit::jet
