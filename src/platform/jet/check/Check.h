#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/jet/format/Format.h"
#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet {

/// One problem that Check found.
struct Problem {
    PageNumber page = 0;  ///< 0: not tied to a page
    std::string table;    ///< empty: not tied to a table
    std::string what;     ///< in plain words, with row, index or column where there is one
    std::string ToText() const;
};

/// Walks a whole file and reports everything that is wrong with it, from the header over the use of every
/// page to rows without index entries, index entries without rows and broken relationships. Opens the file
/// read-only and never throws on damage. `maxProblems` bounds the answer. A file that the next opening will
/// put back to what it was before an interrupted change is not walked: that is the one problem then.
std::vector<Problem> Check(const std::string& path, std::size_t maxProblems = 1000,
                           Storage* storage = nullptr);

}  // namespace marrowkit::jet
