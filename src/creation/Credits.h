#pragma once

#include <string>

#include "platform/files/Clock.h"

namespace marrowkit {

/// Credits.txt of a new database: who made it and when, and where its author's own credits go. Without the
/// final CR LF, which the writing adds.
std::string NewDatabaseCredits(const CalendarDate& today);

/// The [CREDITS] entries of a datafile.
struct DatafileCredits {
    std::string author;
    std::string version;
    std::string comment;
};

/// Credits.txt of a database made from a datafile; `datafileName` is its name as the import's options show
/// it.
std::string ImportedDatabaseCredits(const CalendarDate& today, const std::string& datafileName,
                                    const DatafileCredits& credits);

}  // namespace marrowkit
