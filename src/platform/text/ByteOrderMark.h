#pragma once

#include <string>
#include <string_view>

namespace marrowkit {

/// How a text file's bytes are to be read, by the byte order mark they begin with; without one they are in
/// the system's code page.
enum class FileEncoding { CodePage1252, Utf8, Utf16LittleEndian, Utf16BigEndian };
FileEncoding FileEncodingOf(std::string_view bytes);

/// The text behind the mark as UTF-8, and back with the mark. Bytes of the code page pass unchanged.
std::string DecodeMarked(std::string_view bytes, FileEncoding encoding);
std::string EncodeMarked(std::string_view text, FileEncoding encoding);

}  // namespace marrowkit
