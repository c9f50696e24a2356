#include <array>
#include <chrono>
#include <cstdio>
#include <exception>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/FilePager.h"
#include "platform/jet/storage/NewFileGuard.h"

// Opening and creating database files, and finding those this process has open already.

namespace marrowkit::jet {

namespace {

struct Registry {
    std::mutex mutex;
    std::map<std::pair<Storage*, std::string>, std::weak_ptr<FilePager>> pagers;

    void Add(Storage& storage, const std::string& path, const std::shared_ptr<FilePager>& pager) {
        std::erase_if(pagers, [](const auto& known) { return known.second.expired(); });
        pagers[std::make_pair(&storage, storage.Identity(path))] = pager;
    }
};

Registry& OpenPagers() {
    static Registry registry;
    return registry;
}

bool IsError(const RuntimeError& error, JetError number) {
    return error.number == static_cast<int>(number);
}

/// The name of a file without its folders, for messages.
std::string FileNameOf(const std::string& path) {
    return path.substr(path.find_last_of("/\\") + 1);
}

void OpenFile(OpenedDatabase& opened) {
    if (!opened.readOnly) {
        try {
            opened.file = opened.storage->Open(opened.path, OpenMode::ReadWrite);
            return;
        } catch (const RuntimeError& error) {
            // A file that may only be read is opened for that; writing to it says so later.
            if (!IsError(error, JetError::CannotOpen)) throw;
            opened.readOnly = true;
        }
    }
    opened.file = opened.storage->Open(opened.path, OpenMode::ReadOnly);
}

/// Raises who has the file open, as far as that can be told.
[[noreturn]] void RaiseInUse(const DatabaseHeader& header, const LockFile::User& user) {
    const bool jet4 = header.version == JetVersion::Jet4;
    RaiseJet(jet4 ? JetError::OpenedBy : JetError::OpenedExclusivelyBy, {user.name, user.machine});
}

/// Makes sure that the modes in which processes have the file open agree.
void TakePresence(OpenedDatabase& opened) {
    LockFile::User user;
    bool free = opened.file->TryLock(FilePager::kPresenceLock, 1, opened.exclusive);
    if (opened.exclusive) {
        // A file that may only be read cannot be locked against other readers; they can be noticed.
        free = free && !opened.file->IsLockedByOther(FilePager::kPresenceLock, 1, true);
        if (LockFile::FindUser(*opened.storage, opened.path, user)) RaiseInUse(opened.header, user);
        if (!free) RaiseJet(JetError::FileInUse, {opened.path});
        // Nobody holds it, so it was left behind.
        if (!opened.readOnly) opened.storage->Remove(LockFile::PathFor(opened.path));
    } else if (!free) {
        RaiseJet(JetError::FileInUse, {opened.path});
    }
}

/// Comes in as one of several users. A folder that cannot be written to makes the database read-only.
void JoinUsers(OpenedDatabase& opened) {
    if (opened.exclusive || opened.readOnly) return;
    if (!FilePager::Enter(FilePager::Gate::Coming, *opened.file)) {
        RaiseJet(JetError::FileInUse, {opened.path});
    }
    opened.lockFile = std::make_unique<LockFile>(*opened.storage, opened.path);
    try {
        opened.lockFile->Join();
    } catch (const RuntimeError& error) {
        opened.file->Unlock(FilePager::kGateLock, 1);
        if (!IsError(error, JetError::CannotOpen)) throw;
        opened.lockFile.reset();
        opened.readOnly = true;
        return;
    }
    opened.file->Unlock(FilePager::kGateLock, 1);
}

/// Goes again; the file has to be closed next. Raises nothing: what made it go is what counts.
void LeaveUsers(OpenedDatabase& opened) noexcept {
    if (!opened.lockFile) return;
    try {
        opened.lockFile->Leave(FilePager::Enter(FilePager::Gate::Going, *opened.file));
    } catch (const RuntimeError&) {
        return;  // a lock file that stays behind is harmless
    }
}

/// REQUIRES: nobody of ours can be writing. A file that a stranger uses as well must not be changed, and what
/// an interrupted flush made of it must not be read.
void Recover(const OpenedDatabase& opened, Journal& journal) {
    if (!journal.NeedsRecovery()) return;  // the writer was only slow
    if (opened.lockFile && opened.lockFile->AreStrangersPresent()) {
        RaiseJet(JetError::FileInUse, {opened.path});
    }
    journal.Recover(*opened.file);
}

/// Comes in as a user just for recovering the file: who opened it for reading cannot.
void RecoverAsWriter(const OpenedDatabase& opened) {
    OpenedDatabase writer;
    writer.storage = opened.storage;
    writer.path = opened.path;
    writer.header = opened.header;
    OpenFile(writer);
    if (writer.readOnly) RaiseJet(JetError::CannotOpen, {opened.path});
    JoinUsers(writer);
    if (!writer.lockFile) RaiseJet(JetError::CannotOpen, {opened.path});
    try {
        if (writer.lockFile->TryLockWrite()) Recover(writer, *opened.journal);
    } catch (const std::exception&) {
        LeaveUsers(writer);
        throw;
    }
    LeaveUsers(writer);
}

/// Undoes what a process that died left half-written.
void RecoverIfNeeded(OpenedDatabase& opened) {
    using Clock = std::chrono::steady_clock;
    for (const auto start = Clock::now(); opened.journal->NeedsRecovery();) {
        if (opened.readOnly) {
            // Only a process that may write can bring the file into order.
            RecoverAsWriter(opened);
        } else if (!opened.lockFile || opened.lockFile->TryLockWrite()) {
            Recover(opened, *opened.journal);
            if (opened.lockFile) opened.lockFile->UnlockWrite();
        }
        if (!opened.journal->NeedsRecovery()) return;
        // Someone is writing right now.
        if (Clock::now() - start > std::chrono::seconds(10)) RaiseJet(JetError::FileInUse, {opened.path});
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

DatabaseHeader ReadHeader(OpenedDatabase& opened) {
    std::array<std::uint8_t, 4096> bytes{};
    const std::size_t count = opened.file->Read(0, bytes);
    return ParseDatabaseHeader(ByteView(std::span<const std::uint8_t>(bytes).first(count)),
                               FileNameOf(opened.path));
}

void CheckSize(const OpenedDatabase& opened) {
    const std::uint64_t size = opened.file->Size();
    const std::uint32_t pageBytes = opened.header.PageGeometry().pageBytes;
    if (size % pageBytes != 0) RaiseCorrupt(opened.path, "the file does not end with a whole page");
    if (size / pageBytes < 3) RaiseCorrupt(opened.path, "the file is too short");
}

}  // namespace

std::shared_ptr<Pager> Pager::Open(Storage& storage, const std::string& path, const PagerOptions& options) {
    Registry& registry = OpenPagers();
    const std::lock_guard lock(registry.mutex);
    const auto key = std::make_pair(&storage, storage.Identity(path));
    if (const auto found = registry.pagers.find(key); found != registry.pagers.end()) {
        const auto pager = found->second.lock();
        if (pager && options.exclusive && !pager->IsExclusive()) RaiseJet(JetError::FileInUse, {path});
        if (pager && (options.readOnly || pager->IsExclusive() || !pager->IsReadOnly())) return pager;
    }
    OpenedDatabase opened;
    opened.storage = &storage;
    opened.path = path;
    opened.readOnly = options.readOnly;
    opened.exclusive = options.exclusive;
    opened.cacheBytes = options.cacheBytes;
    OpenFile(opened);
    opened.header = ReadHeader(opened);
    if (!opened.header.password.empty()) RaiseJet(JetError::WrongPassword);
    TakePresence(opened);
    // Whoever had it exclusively may have put another file in its place before he let go of it.
    if (storage.Identity(path) != key.second) RaiseJet(JetError::FileInUse, {path});
    JoinUsers(opened);
    try {
        opened.journal = std::make_unique<Journal>(storage, path);
        RecoverIfNeeded(opened);
        opened.header = ReadHeader(opened);
        CheckSize(opened);
    } catch (const std::exception&) {
        LeaveUsers(opened);
        throw;
    }
    const auto pager = std::make_shared<FilePager>(std::move(opened));
    registry.Add(storage, path, pager);
    return pager;
}

void FilePager::RaiseWhenInUse() {
    LockFile::User user;
    if (LockFile::FindUser(*storage_, path_, user)) RaiseInUse(header_, user);
    if (file_->IsLockedByOther(0, kAllBytes, true)) RaiseJet(JetError::FileInUse, {path_});
}

void Pager::SettleAll() noexcept {
    Registry& registry = OpenPagers();
    const std::unique_lock lock(registry.mutex, std::try_to_lock);
    if (!lock) return;  // in the middle of opening one, which nothing was written to yet
    for (const auto& [key, known] : registry.pagers) {
        if (const auto pager = known.lock()) pager->Settle();
    }
}

std::shared_ptr<Pager> Pager::Create(Storage& storage, const std::string& path, const DatabaseHeader& header,
                                     const PagerOptions& options) {
    Registry& registry = OpenPagers();
    const std::lock_guard lock(registry.mutex);
    auto file = storage.Open(path, OpenMode::CreateNew);
    NewFileGuard guard(storage, path);
    OpenedDatabase opened;
    opened.storage = &storage;
    opened.path = path;
    opened.exclusive = true;
    opened.cacheBytes = options.cacheBytes;
    opened.file = std::move(file);
    opened.header = header;
    opened.file->TryLock(FilePager::kPresenceLock, 1, true);
    opened.journal = std::make_unique<Journal>(storage, path);
    storage.Remove(Journal::PathFor(path));  // of another file that had this name once
    opened.file->Write(0, SerializeDatabaseHeader(header));
    const auto pager = std::make_shared<FilePager>(std::move(opened));
    pager->FormatNew();
    storage.SyncFolderOf(path);
    registry.Add(storage, path, pager);
    guard.Finished();
    return pager;
}

}  // namespace marrowkit::jet
