#pragma once

#include <cstdint>
#include <string>

#include "import/SparseText.h"

namespace marrowkit {

/// One games line of a datafile, with what the later stages find out about it. Text is UTF-8.
struct DatafileEntry {
    // From the loader.
    std::string Name;
    std::string FileName;
    SparseText MatchedFile;  ///< from the ROM scan: path below the ROM folder; empty without a match
    std::string Crc;         ///< column 6 in upper case, otherwise as it is written in the datafile
    std::int32_t Size = 0;   ///< bytes

    bool Matched = false;  ///< from the ROM scan

    // From the TOSEC parser.
    SparseText PublicDomain;
    SparseText VersionComment;
    std::int32_t YearId = 0;
    SparseText Publisher;
    SparseText Language;
    std::int32_t PalNtsc = 0;  ///< 0 PAL, 1 PAL+NTSC, 2 NTSC, 3 unknown
    SparseText Cracker;
    std::int32_t Trainers = 0;  ///< -1 trained by an unknown count, 0 none
    bool SaveFix = false;

    bool operator==(const DatafileEntry&) const = default;
};

}  // namespace marrowkit
