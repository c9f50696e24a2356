#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace marrowkit::jet {

enum class OpenMode { ReadOnly, ReadWrite, CreateNew };

/// For locks from byte 0 on: the file as long as it can get, and every lock that lies behind it.
constexpr std::uint64_t kAllBytes = std::uint64_t{1} << 62;

/// An open file of the host. All numbers are bytes. Every call throws RuntimeError with the runtime's or
/// DAO's number (3026 disk full, 3040/3043 read and write errors); a short write is an error, never a
/// success.
class StorageFile {
public:
    virtual ~StorageFile() = default;
    virtual std::uint64_t Size() = 0;
    /// Reads up to bytes.size() bytes; fewer only at the end of the file. Returns how many.
    virtual std::size_t Read(std::uint64_t offset, std::span<std::uint8_t> bytes) = 0;
    virtual void Write(std::uint64_t offset, std::span<const std::uint8_t> bytes) = 0;
    virtual void Truncate(std::uint64_t size) = 0;
    /// Returns once everything written is on stable storage.
    virtual void Sync() = 0;
    /// A hint that this part will not change any more before the next Sync: the host may begin to store it.
    virtual void BeginStoring(std::uint64_t /*offset*/, std::size_t /*bytes*/) {}
    /// Byte-range locks, also beyond the end of the file; false when another process (or another open file of
    /// this one) holds a conflicting lock. On a file system without locks they succeed.
    virtual bool TryLock(std::uint64_t offset, std::uint64_t count, bool exclusive) = 0;
    virtual void Unlock(std::uint64_t offset, std::uint64_t count) = 0;
    /// True when someone else's lock would make TryLock fail; takes nothing.
    virtual bool IsLockedByOther(std::uint64_t offset, std::uint64_t count, bool exclusive) = 0;
    /// Whether the path leads to this very file: not when it was removed or replaced since.
    virtual bool IsAt(const std::string& /*path*/) { return true; }
    /// Differs after a write by anyone, this process included, as finely as the host's clock tells times of
    /// files apart. Where that is not known it is always the same.
    virtual std::uint64_t ChangeMark() { return 0; }
};

/// The one door to the host's files. Tests put a fault-injecting one here: it fails, tears or forgets writes.
class Storage {
public:
    virtual ~Storage() = default;
    /// Throws 3024 (file not found), 3044 (folder missing), 3051 (no permission), 3204 for CreateNew on an
    /// existing file.
    virtual std::unique_ptr<StorageFile> Open(const std::string& path, OpenMode mode) = 0;
    virtual bool Exists(const std::string& path) = 0;
    /// An absent file is no error.
    virtual void Remove(const std::string& path) = 0;
    /// Replaces `to` when it exists, in one step.
    virtual void Rename(const std::string& from, const std::string& to) = 0;
    /// Makes a created, renamed or removed name in this file's folder durable.
    virtual void SyncFolderOf(const std::string& path) = 0;
    /// The same text for every name of one file (links resolved), for telling whether it is open already.
    virtual std::string Identity(const std::string& path) = 0;
};

/// The host's own file system. Paths are host paths in the host's encoding.
Storage& HostStorage();

}  // namespace marrowkit::jet
