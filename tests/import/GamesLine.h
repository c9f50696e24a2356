#pragma once

#include <string>

namespace marrowkit::test {

/// A line of a datafile's games, in its code page, with its line end.
inline std::string GamesLine(const std::string& name, const std::string& file, const std::string& crc = "1",
                             const std::string& size = "1") {
    const std::string separator = "\xAC";
    std::string line;
    for (const std::string& field :
         {std::string("p"), std::string("p"), name, std::string("d"), file, crc, size}) {
        line += separator + field;
    }
    return line + separator + separator + separator + "\r\n";
}

}  // namespace marrowkit::test
