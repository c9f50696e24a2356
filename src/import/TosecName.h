#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "import/DatafileEntry.h"
#include "import/ImportProgress.h"
#include "import/ImportTables.h"

namespace marrowkit {

/// Reads names in the TOSEC naming convention (TNC v1): a title, then groups such as (1985), (Softco), (de),
/// (PAL), (PD), [cr XYZ], [t +3], [f save].
///
/// Facts are read out of the entry's FileName; the Name is cut down to the title, and the groups that were
/// understood are taken out of what is left of it. A group that stands in only one of the two texts therefore
/// sets its field without changing the Name, or stays in the Name; that is meant.
///
/// An object keeps its working memory from one name to the next.
class TosecParser {
public:
    /// Sets Name and all facts; an entry without a Name is left as it is. Raises 6 (Overflow) when a trainer
    /// count does not fit 32 bits, and nothing else.
    void Parse(DatafileEntry& entry);

private:
    struct Group {
        std::size_t begin;  ///< of the opening bracket
        std::size_t end;    ///< of the closing bracket
    };

    struct Bracket {
        std::size_t at;
        std::uint32_t start;  ///< the bytes from there on, as many as fit
    };

    void Index(std::string_view file);
    std::size_t Find(std::string_view token) const;
    bool Has(std::string_view token) const { return Find(token) != std::string_view::npos; }
    bool FindGroup(std::string_view opening, Group& group) const;
    std::string_view Between(std::size_t from, std::size_t to) const;
    static void Remove(std::string& name, std::string_view text);

    void ReadVideoStandard(DatafileEntry& entry);
    void ReadCracker(DatafileEntry& entry);
    void ReadTrainers(DatafileEntry& entry);
    void ReadLanguage(DatafileEntry& entry);
    bool ReadLanguageList(DatafileEntry& entry, std::size_t row);
    void ReadYearAndPublisher(DatafileEntry& entry);

    std::string_view file_;          ///< the file name being read, without its "ZZZ-UNK-"
    std::string lowered_;            ///< the same in lower case
    std::vector<Bracket> brackets_;  ///< where lowered_ holds "(" or "["
    std::string removal_;
};

/// The same for one name.
void ParseTosecName(DatafileEntry& entry);

/// Parses every entry, with progress. Returns an empty text, or the text of the error that ended the run;
/// entries parsed until then, or until the import was cancelled, keep their new values.
std::string ParseTosecEntries(ImportTables& tables, ImportProgress& progress);

}  // namespace marrowkit
