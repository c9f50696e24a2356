#pragma once

#include <QWidget>
#include <string>

namespace marrowkit {

/// Lets the person choose an existing file that is not set to read-only. `filter` holds pairs of description
/// and pattern separated by vertical bars; `initialFolder` is replaced by the library when it does not
/// exist. Returns a Windows path, empty on cancel.
std::string ShowOpenFileDialog(QWidget* owner, const std::string& initialFolder, const std::string& filter,
                               const std::string& title);

}  // namespace marrowkit
