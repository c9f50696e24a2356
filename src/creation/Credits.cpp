#include "creation/Credits.h"

#include "global/modGlobal.h"

namespace marrowkit {

namespace {

std::string FirstLine(const CalendarDate& today) {
    return "Created by Marrowkit v" + modGlobal::VersionText() + " on " + LongDateText(today) +
           " by Unknown!\r\n";
}

}  // namespace

std::string NewDatabaseCredits(const CalendarDate& today) {
    return FirstLine(today) +
           "\r\n"
           "If you're the creator of this Vellora database, put your credits in this file (credits.txt).";
}

std::string ImportedDatabaseCredits(const CalendarDate& today, const std::string& datafileName,
                                    const DatafileCredits& credits) {
    return FirstLine(today) +
           "\r\n"
           "Imported RomCenter v2.00 Datafile: -\r\n" +
           datafileName +
           "\r\n"
           "\r\n"
           "[CREDITS]\r\n"
           "Author=" +
           credits.author + "\r\nVersion=" + credits.version + "\r\nComment=" + credits.comment;
}

}  // namespace marrowkit
