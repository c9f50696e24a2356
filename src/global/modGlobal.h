#pragma once

#include <string>

/// What the whole program shares: where it lives and how it was started.
namespace marrowkit::modGlobal {

inline constexpr int kVersionMajor = 1;
inline constexpr int kVersionMinor = 1;

/// "1.1": major and minor number without padding.
std::string VersionText();

/// The folder of all databases and of Empty.mdb, as a Windows path text; ends in "\". Set once at start. Here
/// choosing files and folders begins, too, when nothing else says where.
extern std::string LibraryRoot;

/// Started with -EXPERT: fewer warnings.
extern bool Expert;

/// Sets LibraryRoot: to `library` (a path of the host or of Windows) unless that is empty, else to what
/// MARROWKIT_LIBRARY in the environment names, else (an installed program, platform/installation) to the
/// folder that its user chose, else to the folder that holds the program file. Drive letters are those of the
/// library's Wine prefix, when it lies in one. Raises 52, 68, 76 for a path that cannot be.
void Start(const std::string& library = {});

}  // namespace marrowkit::modGlobal
