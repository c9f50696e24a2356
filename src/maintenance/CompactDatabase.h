#pragma once

#include <cstdint>
#include <string>

#include "global/UserInterface.h"
#include "maintenance/SelectedNode.h"

namespace marrowkit {

/// The steps of a compaction that reach the disk, each as it is done in earnest. Every one of them can fail,
/// and the machine can stop between any two: a test that derives from this makes it so.
class CompactionDisk {
public:
    virtual ~CompactionDisk() = default;

    /// Number of records that "SELECT * FROM Games" gives, in a connection of its own.
    virtual std::int32_t CountGames(const std::string& database);
    virtual std::int64_t Length(const std::string& file);
    /// Nothing there is no error. Raises 3045 while somebody has a lock on the file.
    virtual void Delete(const std::string& file);
    /// The same for a file that we have locked ourselves.
    virtual void DeleteHeld(const std::string& file);
    /// The copy gets the original's permissions, too.
    virtual void Compact(const std::string& from, const std::string& to);
    virtual void Rename(const std::string& from, const std::string& to);
};

/// Compacts a database file into "vltemp.mdb" in `folderPath` (which ends in "\"), makes sure that no game
/// was lost, and puts the result in the file's place. A leftover temporary file is deleted first.
///
/// All errors are trapped and reported, as are a missing file, a different number of games (the database
/// stays as it was) and success with the sizes before and after. True for the last.
///
/// The database is open exclusively from the first step until it is deleted, and the temporary file from its
/// making until it has the database's name, so that no other process of ours can have either: error 3045, as
/// for a database that somebody uses. Programs that know nothing of that, the frontend among them, are looked
/// for again before anything is deleted: the database stays when one has it open (3356, 3704), has changed it
/// since it was copied, or has touched the copy (3197).
///
/// Nothing is undone after an error. The games are in the database file at all times, except between its
/// deletion and the renaming of the temporary file: there that one holds them.
bool CompactSelectedDatabase(UserInterface& ui, const std::string& databasePath,
                             const std::string& folderPath, CompactionDisk& disk);
bool CompactSelectedDatabase(UserInterface& ui, const std::string& databasePath,
                             const std::string& folderPath);

/// The menu's way: status text and busy display around it.
bool CompactWithBusyDisplay(UserInterface& ui, const SelectedNode& database);

}  // namespace marrowkit
