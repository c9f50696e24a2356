// INI files of any bytes: reading never crashes, what was written is read again, nothing else changes.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/Require.h"
#include "platform/files/IniText.h"
#include "platform/text/ByteOrderMark.h"
#include "platform/text/Utf8.h"

using namespace marrowkit;

namespace {

void CheckWriting(std::string_view bytes) {
    constexpr std::string_view kValue = "C:\\Roms";
    const std::string after = WithIniValue(bytes, "Games", "1", kValue);
    test::Require(FindIniValue(after, "Games", "1") == kValue);
    test::Require(WithIniValue(after, "Games", "1", kValue) == after);
    if (!FindIniValue(bytes, "DAT", "version")) return;
    test::Require(FindIniValue(after, "DAT", "version") == FindIniValue(bytes, "DAT", "version"));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    CheckWriting(bytes);
    const FileEncoding encoding = FileEncodingOf(bytes);
    const std::string text = DecodeMarked(bytes, encoding);
    test::Require(DecodeMarked(EncodeMarked(text, encoding), encoding) == text);
    CheckWriting(text);
    return 0;
}
