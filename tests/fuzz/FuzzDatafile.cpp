// Datafiles of any bytes: cutting them up never crashes and loses nothing, sizes raise 6 or 13 and nothing
// else.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/Require.h"
#include "import/DatafileLines.h"
#include "import/DatafileLoader.h"
#include "platform/errors/RuntimeError.h"
#include "platform/text/Utf8.h"

using namespace marrowkit;

namespace {

void CheckGamesLine(std::string_view line) {
    const auto separators = std::count(line.begin(), line.end(), kDatafileSeparator);
    GamesLine fields;
    const bool split = SplitGamesLine(line, fields);
    test::Require(split == (line.starts_with(kDatafileSeparator) && separators == 10));
    if (!split) return;

    std::string joined(fields[0]);
    for (std::size_t i = 1; i < fields.size(); ++i) joined.append(1, kDatafileSeparator).append(fields[i]);
    test::Require(joined == line);
    try {
        ImportSettings settings;
        settings.AddZipExtension = true;
        const DatafileEntry entry = MakeDatafileEntry(fields, settings);
        test::Require(IsValidUtf8(entry.Name) && IsValidUtf8(entry.FileName) && IsValidUtf8(entry.Crc));
        test::Require(CharacterCount(entry.Name) == fields[3].size());
        test::Require(CharacterCount(entry.FileName) == fields[5].size() + 4);
    } catch (const RuntimeError& error) {
        test::Require(error.number == 6 || error.number == 13);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    DatafileLines lines(bytes);
    std::string_view line;
    std::size_t lineBytes = 0;
    while (lines.Next(line)) {
        test::Require(line.find('\r') == std::string_view::npos);
        lineBytes += line.size();
        CheckGamesLine(line);
    }
    const auto returns = static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '\r'));
    test::Require(lineBytes <= bytes.size() - returns);
    test::Require(lineBytes + 2 * returns >= bytes.size());
    test::Require(lines.LineNumber() ==
                  returns + (bytes.empty() || bytes.ends_with('\r') || bytes.ends_with("\r\n") ? 0 : 1));
    return 0;
}
