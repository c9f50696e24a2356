#pragma once

#include <string>
#include <string_view>

namespace marrowkit::jet {

/// The engine knows files by their host paths; whoever reads a message knows the path that he gave. From now
/// on messages call this file so, and files beside it by its folder there. Holds for the whole process:
/// opening costs one entry for each file.
void ShowPathAs(const std::string& hostPath, std::string_view shown);

/// What messages call a file; the path itself when nothing else was said of it.
std::string ShownPath(const std::string& hostPath);

}  // namespace marrowkit::jet
