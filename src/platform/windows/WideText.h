#pragma once

#include <string>
#include <string_view>

// Text at the edge to Windows: UTF-8 inside the program, UTF-16 in calls.

namespace marrowkit::windows {

/// Bytes of no well-formed UTF-8 sequence become U+FFFD.
std::wstring ToWide(std::string_view text);
/// Unpaired surrogates, which a file's name may hold, keep their three-byte form (platform/text/Utf16.h).
std::string FromWide(std::wstring_view units);

/// A path as the calls for files take it. One from a drive's or a share's root gets the prefix (`\\?\`) that
/// lifts the limit of 260 characters and keeps "C:\Games\nul.zip" from meaning a device; separators, "." and
/// ".." are brought into the form that goes with it. Others stay as they are.
std::wstring WidePath(std::string_view path);
/// The other way: without the prefix.
std::string FromWidePath(std::wstring_view path);

}  // namespace marrowkit::windows
