#include "platform/jet/storage/LockFile.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <string_view>
#include <thread>

#ifndef _WIN32
#include <unistd.h>
#endif

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

constexpr unsigned kMostUsers = 255;
/// Times that a file may be gone again, or be there after all, before that is taken for its nature.
constexpr int kMostAttempts = 20;
constexpr std::size_t kEntryBytes = 64;
constexpr std::size_t kNameBytes = 32;

/// Jet's locks: user u holds the byte kUserLocks + u while it has the database open; locks on pages and
/// tables lie in the range below.
constexpr std::uint64_t kUserLocks = 0x10000000;
constexpr std::uint64_t kJetLocksStart = 0x20000000;
constexpr std::uint64_t kJetLocksEnd = 0x6FF80100;

/// Our own locks, beyond everything of Jet's: a mark for each user number that is ours, a byte per waiting
/// process, and the write lock.
constexpr std::uint64_t kOurUsers = 0x7E000000;
constexpr std::uint64_t kWaiting = 0x7E001000;
constexpr std::uint64_t kWriteLock = 0x7E002000;

std::string MachineName() {
#ifdef _WIN32
    const char* name = std::getenv("COMPUTERNAME");
    return name != nullptr ? name : "";
#else
    std::array<char, 256> name{};
    if (::gethostname(name.data(), name.size() - 1) != 0) return {};
    return name.data();
#endif
}

void PutName(std::span<std::uint8_t> field, std::string_view name) {
    const std::size_t length = std::min(name.size(), field.size() - 1);
    std::memcpy(field.data(), name.data(), length);
    field[length] = 0;
}

std::string NameIn(std::span<const std::uint8_t> field) {
    const auto end = std::find(field.begin(), field.end(), std::uint8_t{0});
    std::string name(field.begin(), end);
    while (!name.empty() && name.back() == ' ') name.pop_back();
    return name;
}

}  // namespace

LockFile::LockFile(Storage& storage, const std::string& databasePath)
    : storage_(&storage), path_(PathFor(databasePath)) {}

std::string LockFile::PathFor(const std::string& databasePath) {
    const std::size_t name = databasePath.find_last_of("/\\") + 1;
    const std::size_t dot = databasePath.rfind('.');
    const bool hasEnding = dot != std::string::npos && dot > name;
    return (hasEnding ? databasePath.substr(0, dot) : databasePath) + ".ldb";
}

std::unique_ptr<StorageFile> LockFile::OpenOrCreate() {
    for (int attempt = 1;; ++attempt) {
        try {
            return storage_->Open(path_, OpenMode::ReadWrite);
        } catch (const RuntimeError& error) {
            if (error.number != static_cast<int>(JetError::FileNotFound)) throw;
        }
        try {
            return storage_->Open(path_, OpenMode::CreateNew);
        } catch (const RuntimeError& error) {
            const bool anotherWasFirst = error.number == static_cast<int>(JetError::DatabaseExists);
            if (!anotherWasFirst || attempt == kMostAttempts) throw;
        }
    }
}

void LockFile::Join() {
    std::unique_ptr<StorageFile> file;
    for (int attempt = 1; attempt <= kMostAttempts; ++attempt) {
        file = OpenOrCreate();
        user_ = 1;
        while (user_ <= kMostUsers && !file->TryLock(kUserLocks + user_, 1, true)) ++user_;
        if (user_ > kMostUsers) RaiseJet(JetError::LockFailed);
        file->TryLock(kOurUsers + user_, 1, true);
        // Jet's last user deletes the file without waiting for those who are just coming.
        if (file->IsAt(path_)) break;
    }

    std::array<std::uint8_t, kEntryBytes> entry;
    entry.fill(' ');
    PutName(std::span(entry).first(kNameBytes), MachineName());
    PutName(std::span(entry).subspan(kNameBytes), "Admin");
    file->Write(kEntryBytes * (user_ - 1), entry);
    file_ = std::move(file);
}

void LockFile::Leave(bool mayRemove) noexcept {
    if (!file_) return;
    try {
        file_->Unlock(kUserLocks + user_, 1);
        const bool last = mayRemove && IsAlone();
        file_.reset();
        if (last) storage_->Remove(path_);
    } catch (const RuntimeError&) {
        // A file that stays behind is harmless: entries count only while their locks are held.
        file_.reset();
    }
}

bool LockFile::FindUser(Storage& storage, const std::string& databasePath, User& user) {
    const std::string path = PathFor(databasePath);
    if (!storage.Exists(path)) return false;
    const auto file = storage.Open(path, OpenMode::ReadOnly);
    if (!file->IsLockedByOther(kUserLocks + 1, kMostUsers, true)) return false;
    for (unsigned number = 1; number <= kMostUsers; ++number) {
        if (!file->IsLockedByOther(kUserLocks + number, 1, true)) continue;
        std::array<std::uint8_t, kEntryBytes> entry{};
        file->Read(kEntryBytes * (number - 1), entry);
        user.machine = NameIn(std::span<const std::uint8_t>(entry).first(kNameBytes));
        user.name = NameIn(std::span<const std::uint8_t>(entry).subspan(kNameBytes));
        return true;
    }
    return false;
}

bool LockFile::TryLockWrite() {
    return file_->TryLock(kWriteLock, 1, true);
}

void LockFile::UnlockWrite() {
    file_->Unlock(kWriteLock, 1);
}

bool LockFile::IsWriteLockedByOther() const {
    return file_->IsLockedByOther(kWriteLock, 1, true);
}

void LockFile::AnnounceWaiting(bool waiting) {
    if (waiting) {
        file_->TryLock(kWaiting + user_, 1, true);
    } else {
        file_->Unlock(kWaiting + user_, 1);
    }
}

bool LockFile::DoOthersWait() const {
    return file_->IsLockedByOther(kWaiting, kMostUsers + 1, true);
}

bool LockFile::IsAlone() const {
    return !file_->IsLockedByOther(kUserLocks + 1, kMostUsers, true);
}

bool LockFile::AreStrangersPresent() const {
    if (file_->IsLockedByOther(kJetLocksStart, kJetLocksEnd - kJetLocksStart, true)) return true;
    if (IsAlone()) return false;
    for (unsigned number = 1; number <= kMostUsers; ++number) {
        if (number != user_ && IsStranger(number)) return true;
    }
    return false;
}

/// One of ours takes its number first and its mark then, so who has no mark yet is looked at again.
bool LockFile::IsStranger(unsigned number) const {
    constexpr int kLooks = 10;
    constexpr std::chrono::milliseconds kPause{1};
    for (int look = 1;; ++look) {
        if (!file_->IsLockedByOther(kUserLocks + number, 1, true)) return false;
        if (file_->IsLockedByOther(kOurUsers + number, 1, true)) return false;
        if (look == kLooks) return true;
        std::this_thread::sleep_for(kPause);
    }
}

}  // namespace marrowkit::jet
