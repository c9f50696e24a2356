#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet {

/// The `.ldb` beside a database that several may have open: Jet's user numbers, and locks of our own that
/// only this program's processes know. Nothing in the file itself tells who is there; only held byte locks
/// do.
class LockFile {
public:
    LockFile(Storage& storage, const std::string& databasePath);

    static std::string PathFor(const std::string& databasePath);

    /// Takes the first free user number and writes its entry; creates the file when there is none. Throws
    /// what creating a file throws, 3050 when all 255 numbers are taken. REQUIRES: nobody is in
    /// Leave(true) meanwhile.
    void Join();
    /// Gives the number up. `mayRemove`: nobody can be joining now, so the file is deleted when no other user
    /// is left.
    void Leave(bool mayRemove) noexcept;
    bool HasJoined() const { return file_ != nullptr; }

    /// A live user of the file as its entry names him.
    struct User {
        std::string name;
        std::string machine;
    };
    /// Whether someone holds a user number, and who. Opens the file just for the question.
    static bool FindUser(Storage& storage, const std::string& databasePath, User& user);

    // REQUIRES for all below: HasJoined.

    bool TryLockWrite();
    void UnlockWrite();
    /// Whether another of our processes holds the write lock now.
    bool IsWriteLockedByOther() const;
    /// Tells the holder of the write lock that someone waits for it.
    void AnnounceWaiting(bool waiting);
    bool DoOthersWait() const;
    /// Whether nobody else has the file open.
    bool IsAlone() const;
    /// Whether a user is there who is not one of ours, or whoever it is holds locks on pages or tables.
    bool AreStrangersPresent() const;

private:
    std::unique_ptr<StorageFile> OpenOrCreate();
    bool IsStranger(unsigned number) const;

    Storage* storage_;
    std::string path_;
    std::unique_ptr<StorageFile> file_;
    unsigned user_ = 0;
};

}  // namespace marrowkit::jet
