#include "platform/files/IniFile.h"

#include <optional>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/HostPath.h"
#include "platform/files/IniText.h"
#include "platform/text/ByteOrderMark.h"
#include "platform/text/CodePage1252.h"
#include "platform/text/Text.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

bool HasLineEnd(std::string_view text) {
    return text.find_first_of("\r\n") != std::string_view::npos;
}

std::optional<std::string> FindValueInFile(const std::string& bytes, std::string_view section,
                                           std::string_view key) {
    const FileEncoding encoding = FileEncodingOf(bytes);
    if (encoding != FileEncoding::CodePage1252) {
        return FindIniValue(DecodeMarked(bytes, encoding), section, key);
    }
    const auto value = FindIniValue(bytes, Utf8ToCp1252(section), Utf8ToCp1252(key));
    if (!value) return std::nullopt;
    return Cp1252ToUtf8(*value);
}

}  // namespace

std::string ReadIniValue(std::string_view iniPath, std::string_view section, std::string_view key,
                         std::string_view defaultValue) {
    std::optional<std::string> value;
    try {
        value = FindValueInFile(ReadHostFile(HostPath(iniPath)), section, key);
    } catch (const RuntimeError&) {
        // A file that cannot be read has no values.
    }
    if (!value) value = RTrim(defaultValue);
    return std::string(FirstCharacters(*value, kIniValueCharacters));
}

void WriteIniValue(std::string_view section, std::string_view key, std::string_view value,
                   std::string_view iniPath) {
    if (HasLineEnd(section) || HasLineEnd(key) || HasLineEnd(value) || section.empty() || key.empty()) {
        Raise(RuntimeErrorNumber::InvalidProcedureCall);
    }
    const std::string host = HostPath(iniPath);
    const std::string old = StatusOf(host) ? ReadHostFile(host) : std::string();
    const FileEncoding encoding = FileEncodingOf(old);
    const bool unicode = encoding != FileEncoding::CodePage1252;
    const std::string text =
        unicode ? WithIniValue(DecodeMarked(old, encoding), section, key, value)
                : WithIniValue(old, Utf8ToCp1252(section), Utf8ToCp1252(key), Utf8ToCp1252(value));
    ReplaceHostFile(host, EncodeMarked(text, encoding));
}

}  // namespace marrowkit
