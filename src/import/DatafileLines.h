#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace marrowkit {

/// The separator of a games line: the character U+00AC in the datafile's code page. A line that begins with
/// it is a games line, in whatever section it stands.
inline constexpr char kDatafileSeparator = '\xAC';

/// Nine columns between ten separators; field 0 is the empty text in front of the first separator.
inline constexpr std::size_t kGamesLineFields = 11;

/// Cuts a datafile's bytes into lines. CR ends a line, and takes an LF behind it along; LF alone does not, so
/// a file with LF line ends is one single line. Text after the last line end is a line too.
class DatafileLines {
public:
    /// `bytes` must outlive the object and the lines it yields.
    explicit DatafileLines(std::string_view bytes) : rest_(bytes) {}

    /// False at the end.
    bool Next(std::string_view& line);
    /// Of the line that Next gave last, from 1.
    std::size_t LineNumber() const { return lineNumber_; }

private:
    std::string_view rest_;
    std::size_t lineNumber_ = 0;
};

/// The fields of a games line, in the file's own bytes.
using GamesLine = std::array<std::string_view, kGamesLineFields>;

/// Splits a line at every separator. False, with `fields` partly filled, for a line that does not begin with
/// one or does not yield exactly 11 fields.
bool SplitGamesLine(std::string_view line, GamesLine& fields);

}  // namespace marrowkit
