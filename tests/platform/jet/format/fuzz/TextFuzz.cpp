#include "platform/jet/format/Collation.h"
#include "platform/jet/format/TextCodec.h"
#include "platform/jet/format/fuzz/Fuzz.h"
#include "platform/text/Utf8.h"

using namespace marrowkit;

namespace {

void CheckRoundTrip(jet::JetVersion version, const std::string& text) {
    for (const bool compress : {false, true}) {
        const auto stored = jet::EncodeText(version, text, compress);
        const std::string back = jet::DecodeText(version, jet::ByteView(stored));
        // A leading U+FEFF may have to be given up.
        test::Require(back == text || text.starts_with("\xEF\xBB\xBF"));
    }
    test::Require(IsValidUtf8(text));
}

void CheckComparison(jet::JetVersion version, std::string_view left, std::string_view right) {
    std::vector<std::uint8_t> leftKey;
    std::vector<std::uint8_t> rightKey;
    jet::AppendComparisonKey(version, left, leftKey);
    jet::AppendComparisonKey(version, right, rightKey);
    const int byKeys = leftKey < rightKey ? -1 : rightKey < leftKey ? 1 : 0;
    test::Require(jet::CompareText(version, left, right) == byKeys);
    jet::AppendTextKey(version, left, true, leftKey);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const test::FuzzInput input(data, size);
    CheckRoundTrip(input.version, jet::DecodeText(input.version, input.bytes));
    // As two UTF-8 texts, well formed or not.
    const std::string_view both(reinterpret_cast<const char*>(data), size);
    CheckComparison(input.version, both.substr(0, size / 2), both.substr(size / 2));
    return 0;
}
