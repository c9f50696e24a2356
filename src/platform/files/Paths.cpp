#include "platform/files/Paths.h"

#include <algorithm>
#include <cstddef>

#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

constexpr std::string_view kSeparators = "\\/";

bool IsSeparator(char c) {
    return c == '\\' || c == '/';
}

bool IsForbiddenInName(char c) {
    return static_cast<unsigned char>(c) < 0x20 ||
           std::string_view("\\/:*?\"<>|").find(c) != std::string_view::npos;
}

}  // namespace

SplitPathParts SplitPath(std::string_view path) {
    const std::size_t last = path.find_last_of(kSeparators);
    if (last == std::string_view::npos) {
        if (!HasDriveLetter(path)) return {"", std::string(path)};
        return {std::string(path.substr(0, 2)), std::string(path.substr(2))};
    }
    return {WithoutFinalBackslash(path.substr(0, last + 1)), std::string(path.substr(last + 1))};
}

std::string FolderOf(std::string_view path) {
    return SplitPath(path).folder;
}
std::string FileNameOf(std::string_view path) {
    return SplitPath(path).fileName;
}

std::string JoinPath(std::string_view folder, std::string_view name) {
    while (!name.empty() && IsSeparator(name.front())) name.remove_prefix(1);
    if (folder.empty()) return std::string(name);
    return WithFinalBackslash(folder).append(name);
}

std::string WithFinalBackslash(std::string_view path) {
    std::string result(path);
    if (result.empty() || !IsSeparator(result.back())) result.push_back('\\');
    return result;
}

std::string WithoutFinalBackslash(std::string_view path) {
    while (!path.empty() && IsSeparator(path.back()) && !IsDriveRoot(path) && path.size() > 1) {
        path.remove_suffix(1);
    }
    return std::string(path);
}

bool HasDriveLetter(std::string_view path) {
    if (path.size() < 2 || path[1] != ':') return false;
    return (path[0] >= 'A' && path[0] <= 'Z') || (path[0] >= 'a' && path[0] <= 'z');
}

bool IsAbsolutePath(std::string_view path) {
    if (HasDriveLetter(path)) return path.size() > 2 && IsSeparator(path[2]);
    return path.starts_with("\\\\");
}

bool IsDriveRoot(std::string_view path) {
    return HasDriveLetter(path) && (path.size() == 2 || (path.size() == 3 && IsSeparator(path[2])));
}

bool IsWindowsFileName(std::string_view name) {
    if (name.empty() || name.back() == '.' || name.back() == ' ') return false;
    return std::none_of(name.begin(), name.end(), IsForbiddenInName) &&
           IsValidUtf8(name, Surrogates::Refused);
}

}  // namespace marrowkit
