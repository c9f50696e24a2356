#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/storage/Storage.h"

// A disk in memory that misbehaves on demand: it fails an operation, fills up, or loses power, and then it
// remembers only what was synced and an arbitrary part of the rest.

namespace marrowkit::jet::test {

/// What survives of writes and names that were never synced when the power goes.
enum class Survival { Nothing, Everything, SomeSectors };

class FaultDisk {
public:
    static constexpr std::size_t kSectorBytes = 512;

    struct Lock {
        const void* owner;
        std::uint64_t offset;
        std::uint64_t count;
        bool exclusive;
    };
    /// A write, or (without bytes) a new size.
    struct Change {
        std::uint64_t offset = 0;
        std::vector<std::uint8_t> bytes;
        bool isResize = false;
    };
    struct File {
        std::vector<std::uint8_t> now;
        std::vector<std::uint8_t> durable;
        std::vector<Change> unsynced;
        std::vector<Lock> locks;
    };
    using Names = std::map<std::string, std::shared_ptr<File>>;

    FaultDisk() = default;
    /// A copy of the disk as it is, everything durable, nobody having anything open.
    FaultDisk(const FaultDisk& other) {
        for (const auto& [name, file] : other.names) {
            auto copy = std::make_shared<File>();
            copy->now = copy->durable = file->now;
            names[name] = copy;
        }
        durableNames = names;
    }
    FaultDisk& operator=(const FaultDisk&) = delete;

    // ---- Faults. Operations that change something are counted from 1: writes, resizes, syncs, names.

    std::uint64_t operations = 0;
    /// At this operation the power goes: it may take effect in part, it and everything later throws.
    std::uint64_t powerOffAt = 0;
    /// This operation fails once, without effect, with this number.
    std::uint64_t failAt = 0;
    int failNumber = 3043;
    /// This sync (counted on its own) fails, and the host forgets what was to be synced.
    std::uint64_t syncs = 0;
    std::uint64_t failSyncAt = 0;
    /// Bytes that all files together may have. A write that needs more writes what fits and fails.
    std::uint64_t capacity = ~std::uint64_t{0};
    /// What all files would have had to hold for the first write that the capacity refused; 0 for none.
    std::uint64_t refusedBytes = 0;
    /// This read fails with 3040.
    std::uint64_t reads = 0;
    std::uint64_t failReadAt = 0;
    bool readOnlyFolder = false;

    bool isOff = false;
    std::uint64_t boot = 0;  ///< handles of an earlier one are dead

    /// The power comes back. Seeds decide what survived.
    void Reboot(Survival survival, std::uint32_t seed) {
        std::mt19937 random(seed);
        Names after = durableNames;
        std::size_t kept = survival == Survival::Nothing      ? 0
                           : survival == Survival::Everything ? nameChanges.size()
                                                              : random() % (nameChanges.size() + 1);
        for (std::size_t i = 0; i < kept; ++i) Apply(after, nameChanges[i]);
        for (auto& [name, file] : after) Settle(*file, survival, random);
        names = durableNames = std::move(after);
        nameChanges.clear();
        powerOffAt = failAt = failSyncAt = failReadAt = 0;
        isOff = false;
        ++boot;
    }

    Names names;
    Names durableNames;
    struct NameChange {
        std::string from;  ///< gone afterwards; empty for none
        std::string to;
        std::shared_ptr<File> file;  ///< under `to`
    };
    std::vector<NameChange> nameChanges;

    void ChangeName(NameChange change) {
        Apply(names, change);
        nameChanges.push_back(std::move(change));
    }
    void SyncNames() {
        durableNames = names;
        nameChanges.clear();
    }

    static void ApplyTo(std::vector<std::uint8_t>& content, const Change& change) {
        if (change.isResize) return content.resize(change.offset);
        if (content.size() < change.offset + change.bytes.size()) {
            content.resize(change.offset + change.bytes.size());
        }
        std::copy(change.bytes.begin(), change.bytes.end(),
                  content.begin() + static_cast<std::ptrdiff_t>(change.offset));
    }

    std::uint64_t UsedBytes() const {
        std::uint64_t bytes = 0;
        for (const auto& [name, file] : names) bytes += file->now.size();
        return bytes;
    }

private:
    static void Apply(Names& names, const NameChange& change) {
        if (!change.from.empty()) names.erase(change.from);
        if (change.file) names[change.to] = change.file;
    }

    static void Settle(File& file, Survival survival, std::mt19937& random) {
        for (const Change& change : file.unsynced) {
            if (survival == Survival::Nothing) continue;
            if (survival == Survival::Everything || change.isResize) {
                if (survival == Survival::Everything || random() % 2 == 0) ApplyTo(file.durable, change);
                continue;
            }
            // Each sector on its own; the disk reorders and loses as it likes, but writes sectors whole.
            for (std::uint64_t at = change.offset; at < change.offset + change.bytes.size();) {
                const std::uint64_t end = std::min<std::uint64_t>((at / kSectorBytes + 1) * kSectorBytes,
                                                                  change.offset + change.bytes.size());
                if (random() % 2 == 0) {
                    const auto from = change.bytes.begin() + static_cast<std::ptrdiff_t>(at - change.offset);
                    ApplyTo(file.durable, {at, {from, from + static_cast<std::ptrdiff_t>(end - at)}, false});
                }
                at = end;
            }
        }
        file.unsynced.clear();
        file.locks.clear();
        file.now = file.durable;
    }
};

/// One process's view of the disk; two views of one disk are two processes.
class FaultStorage final : public Storage {
public:
    explicit FaultStorage(std::shared_ptr<FaultDisk> disk) : disk_(std::move(disk)) {}
    FaultStorage() : FaultStorage(std::make_shared<FaultDisk>()) {}

    FaultDisk& Disk() { return *disk_; }

    std::unique_ptr<StorageFile> Open(const std::string& path, OpenMode mode) override {
        RequirePower();
        const auto found = disk_->names.find(path);
        if (mode == OpenMode::CreateNew) {
            if (found != disk_->names.end()) throw RuntimeError(3204, "Database already exists.");
            if (disk_->readOnlyFolder) throw RuntimeError(3051, "The folder cannot be written to.");
            auto file = std::make_shared<FaultDisk::File>();
            const bool off = Count();
            disk_->ChangeName({{}, path, file});
            if (off) PowerOff();
            return std::make_unique<Handle>(*this, std::move(file), true);
        }
        if (found == disk_->names.end()) throw RuntimeError(3024, "Could not find file.");
        return std::make_unique<Handle>(*this, found->second, mode != OpenMode::ReadOnly);
    }
    bool Exists(const std::string& path) override {
        RequirePower();
        return disk_->names.contains(path);
    }
    void Remove(const std::string& path) override {
        RequirePower();
        if (!disk_->names.contains(path)) return;
        const bool off = Count();
        disk_->ChangeName({path, {}, nullptr});
        if (off) PowerOff();
    }
    void Rename(const std::string& from, const std::string& to) override {
        RequirePower();
        const auto file = disk_->names.at(from);
        const bool off = Count();
        disk_->ChangeName({from, to, file});
        if (off) PowerOff();
    }
    void SyncFolderOf(const std::string&) override {
        RequirePower();
        if (Count()) PowerOff();
        disk_->SyncNames();
    }
    std::string Identity(const std::string& path) override { return path; }

private:
    class Handle final : public StorageFile {
    public:
        Handle(FaultStorage& storage, std::shared_ptr<FaultDisk::File> file, bool writable)
            : storage_(storage),
              disk_(storage.disk_),
              file_(std::move(file)),
              boot_(disk_->boot),
              writable_(writable) {}
        ~Handle() override {
            std::erase_if(file_->locks, [this](const FaultDisk::Lock& lock) { return lock.owner == this; });
        }

        std::uint64_t Size() override {
            Require();
            return file_->now.size();
        }
        std::size_t Read(std::uint64_t offset, std::span<std::uint8_t> bytes) override {
            Require();
            if (++disk_->reads == disk_->failReadAt) throw RuntimeError(3040, "Disk I/O error during read.");
            if (offset >= file_->now.size()) return 0;
            const std::size_t count = std::min<std::size_t>(bytes.size(), file_->now.size() - offset);
            std::copy_n(file_->now.begin() + static_cast<std::ptrdiff_t>(offset), count, bytes.begin());
            return count;
        }
        void Write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
            Require();
            if (!writable_) throw RuntimeError(3043, "Opened for reading.");
            const bool off = storage_.Count();
            const std::uint64_t end = offset + bytes.size();
            if (end > file_->now.size()) {
                const std::uint64_t needed = disk_->UsedBytes() + (end - file_->now.size());
                if (needed > disk_->capacity) {
                    if (disk_->refusedBytes == 0) disk_->refusedBytes = needed;
                    // What fits is written, as hosts do it.
                    const std::size_t left =
                        bytes.size() - std::min<std::uint64_t>(bytes.size(), needed - disk_->capacity);
                    if (left > 0) Change({offset, {bytes.begin(), bytes.begin() + left}, false});
                    throw RuntimeError(3026, "Not enough space on disk.");
                }
            }
            Change({offset, {bytes.begin(), bytes.end()}, false});
            if (off) storage_.PowerOff();
        }
        void Truncate(std::uint64_t size) override {
            Require();
            if (size == file_->now.size()) return;
            const bool off = storage_.Count();
            Change({size, {}, true});
            if (off) storage_.PowerOff();
        }
        void Sync() override {
            Require();
            if (storage_.Count()) storage_.PowerOff();
            if (++disk_->syncs == disk_->failSyncAt) {
                file_->unsynced.clear();
                throw RuntimeError(3043, "Disk or network error.");
            }
            for (const FaultDisk::Change& change : file_->unsynced)
                FaultDisk::ApplyTo(file_->durable, change);
            file_->unsynced.clear();
        }
        bool TryLock(std::uint64_t offset, std::uint64_t count, bool exclusive) override {
            Require();
            if (IsLockedByOther(offset, count, exclusive)) return false;
            file_->locks.push_back({this, offset, count, exclusive});
            return true;
        }
        void Unlock(std::uint64_t offset, std::uint64_t count) override {
            Require();
            std::erase_if(file_->locks, [&](const FaultDisk::Lock& lock) {
                return lock.owner == this && lock.offset == offset && lock.count == count;
            });
        }
        bool IsLockedByOther(std::uint64_t offset, std::uint64_t count, bool exclusive) override {
            Require();
            return std::any_of(file_->locks.begin(), file_->locks.end(), [&](const FaultDisk::Lock& lock) {
                return lock.owner != this && (exclusive || lock.exclusive) && lock.offset < offset + count &&
                       offset < lock.offset + lock.count;
            });
        }

        bool IsAt(const std::string& path) override {
            const auto found = disk_->names.find(path);
            return found != disk_->names.end() && found->second == file_;
        }

    private:
        void Require() const {
            if (disk_->isOff || boot_ != disk_->boot) throw RuntimeError(3043, "The power is off.");
        }
        void Change(FaultDisk::Change change) {
            FaultDisk::ApplyTo(file_->now, change);
            file_->unsynced.push_back(std::move(change));
        }

        FaultStorage& storage_;
        std::shared_ptr<FaultDisk> disk_;
        std::shared_ptr<FaultDisk::File> file_;
        std::uint64_t boot_;
        bool writable_;
    };

    void RequirePower() const {
        if (disk_->isOff) throw RuntimeError(3043, "The power is off.");
    }
    /// Counts an operation; true when the power goes with it.
    bool Count() {
        ++disk_->operations;
        if (disk_->operations == disk_->failAt) throw RuntimeError(disk_->failNumber, "An operation failed.");
        return disk_->operations == disk_->powerOffAt;
    }
    [[noreturn]] void PowerOff() {
        disk_->isOff = true;
        throw RuntimeError(3043, "The power went off.");
    }

    std::shared_ptr<FaultDisk> disk_;
};

}  // namespace marrowkit::jet::test
