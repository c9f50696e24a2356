// Registry files of any bytes, in both dialects: reading never crashes, what was written is read again,
// nothing else changes.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/Require.h"
#include "platform/registry/RegistryText.h"

using namespace marrowkit;

namespace {

void Check(std::string_view text, RegistryDialect dialect) {
    const RegistryData number{RegistryData::Type::Number, "", 42};
    const RegistryData words{RegistryData::Type::Text, "a \"b\" \\ \xC3\xA4", 0};
    const std::string once = WithRegistryValue(text, dialect, "K\\k", "n", number, 1'700'000'000);
    const auto read = FindRegistryValue(once, dialect, "k\\K", "N");
    test::Require(read && read->number == number.number);

    const std::string twice = WithRegistryValue(once, dialect, "K\\k", "n", words, 1'700'000'000);
    const auto readAgain = FindRegistryValue(twice, dialect, "K\\k", "n");
    test::Require(readAgain && readAgain->text == words.text);

    const auto before = FindRegistryValue(text, dialect, "A", "x");
    const auto after = FindRegistryValue(twice, dialect, "A", "x");
    test::Require(before.has_value() == after.has_value());
    if (before) test::Require(before->text == after->text && before->number == after->number);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    static_cast<void>(IsWin64Registry(text));
    Check(text, RegistryDialect::Wine);
    Check(text, RegistryDialect::Regedit);
    return 0;
}
