#pragma once

#include <QIcon>
#include <string_view>

namespace marrowkit {

/// One of the built-in pictures ("vellora", "access", "folder", "inifile", "textfile", "marrowkit"), drawn
/// sharp at every size that lists and title bars ask for.
QIcon BuiltInImage(std::string_view name);

/// A picture file as an icon of 32 pixels in which white is transparent. Throws RuntimeError 53 when there is
/// no such file and 481 when it holds no picture.
QIcon LoadStartupIcon(std::string_view hostPath);

}  // namespace marrowkit
