#pragma once

#include <string>

namespace marrowkit {

/// What --version prints, without a line end: "Marrowkit 1.1 (commit 0a1b2c3d4e5f)". The commit is that of
/// the sources at build time, with "-dirty" behind it when files were changed, "unknown" when nothing tells.
std::string BuildVersionText();

}  // namespace marrowkit
