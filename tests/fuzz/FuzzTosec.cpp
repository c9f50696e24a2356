// Names of any bytes: the parser never crashes, never lets a name grow, keeps every fact in its range and
// raises nothing but an overflow of the trainers' count.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/Require.h"
#include "import/TosecName.h"
#include "platform/errors/RuntimeError.h"

using namespace marrowkit;

namespace {

void Check(const std::string& name, const std::string& fileName) {
    DatafileEntry entry;
    entry.Name = name;
    entry.FileName = fileName;
    try {
        ParseTosecName(entry);
    } catch (const RuntimeError& error) {
        test::Require(error.number == 6);
        return;
    }
    test::Require(entry.FileName == fileName);
    test::Require(entry.Name.size() <= name.size());
    if (name.empty()) return;
    test::Require(entry.Trainers >= -1);
    test::Require(entry.PalNtsc >= 0 && entry.PalNtsc <= 3);
    test::Require(entry.YearId >= 1 && entry.YearId <= 50);
    test::Require(!entry.Language.empty());
    test::Require(entry.Publisher.Text().size() <= fileName.size());

    // A parser that has seen other names reads this one the same.
    DatafileEntry other;
    other.Name = other.FileName = "A (1985)(B)(de)[cr C][t +3][f save](PAL)(PD)";
    DatafileEntry again;
    again.Name = name;
    again.FileName = fileName;
    TosecParser parser;
    parser.Parse(other);
    parser.Parse(again);
    test::Require(again == entry);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::size_t half = text.find('\n');
    Check(text, text);
    if (half != std::string::npos) Check(text.substr(0, half), text.substr(half + 1));
    return 0;
}
