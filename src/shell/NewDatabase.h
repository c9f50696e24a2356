#pragma once

#include <QWidget>
#include <optional>
#include <string>

#include "global/UserInterface.h"

namespace marrowkit {

/// Asks for a name with the input dialog and makes the database of that name; the tree is rebuilt by then.
/// Returns the key of its folder's node, nullopt when none was made.
std::optional<std::string> AskAndCreateDatabase(QWidget* owner, UserInterface& ui);

}  // namespace marrowkit
