#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/jet/storage/GlobalMap.h"
#include "platform/jet/storage/Journal.h"
#include "platform/jet/storage/LockFile.h"
#include "platform/jet/storage/PageCache.h"
#include "platform/jet/storage/Pager.h"
#include "platform/jet/storage/UndoLog.h"

namespace marrowkit::jet {

/// An opened database file with the locks that opening it took; what a pager is made from.
struct OpenedDatabase {
    Storage* storage = nullptr;
    std::string path;
    std::unique_ptr<StorageFile> file;
    DatabaseHeader header;
    std::unique_ptr<LockFile> lockFile;  ///< null when exclusive or read-only
    std::unique_ptr<Journal> journal;
    bool readOnly = false;
    bool exclusive = false;
    std::size_t cacheBytes = 0;
};

/// The pager of a file.
class FilePager final : public Pager {
public:
    explicit FilePager(OpenedDatabase opened);
    FilePager(const FilePager&) = delete;
    FilePager& operator=(const FilePager&) = delete;
    ~FilePager() override;

    const std::string& Path() const override { return path_; }
    const DatabaseHeader& Header() const override { return header_; }
    bool IsReadOnly() const override { return readOnly_; }
    bool IsExclusive() const { return exclusive_; }
    /// Adds page 1 to a file that has only page 0.
    void FormatNew();
    PageNumber PageCount() const override { return pageCount_; }

    PageRef Read(PageNumber page) override;
    PageEdit Edit(PageNumber page) override;
    PageEdit Allocate() override;
    void Release(PageNumber page) override;
    bool IsFree(PageNumber page) override { return globalMap_.IsFree(page); }

    void BeginUnit() override;
    void CommitUnit() override;
    void RollbackUnit() noexcept override;
    int UnitDepth() const override { return static_cast<int>(undo_.Depth()); }
    void Flush() override;
    void Refresh() override;
    void RaiseWhenInUse() override;
    /// Ends all units and writes what can be written: the file is as if it had been closed.
    void Settle() noexcept;
    std::uint64_t Generation() const override { return generation_; }
    std::uint64_t LayoutEpoch() const override { return generation_ + releases_; }

    /// Locks beside the file's own pages, for opening databases: whether somebody has it open in shared or
    /// exclusive mode, and the gate. Far behind the largest database.
    static constexpr std::uint64_t kPresenceLock = std::uint64_t{1} << 32;
    static constexpr std::uint64_t kGateLock = kPresenceLock + 1;
    /// Whoever comes holds the gate's lock together with others until it is known as a user. Whoever goes
    /// holds it alone, from before it looks whether anyone else is there until it has removed what only users
    /// need and has closed the file; so nobody joins with files that are being removed. False when others
    /// keep the lock for too long.
    enum class Gate { Coming, Going };
    static bool Enter(Gate gate, StorageFile& database);

private:
    using Clock = std::chrono::steady_clock;

    // Pages
    PageFrame* FrameOf(PageNumber page);
    PageFrame* Obtain(PageNumber page);
    void ReadFromFile(PageNumber page, PageFrame* frame);
    void ReadAhead(PageNumber first);
    PageEdit EditFrame(PageFrame* frame);
    void MarkDirty(PageFrame* frame);
    PageEdit AppendPage(PageNumber spared);
    void RequireWritable() const;

    // Writing
    std::vector<PageFrame*> DirtyFrames(bool withPinned);
    void RecordBatch(const std::vector<PageFrame*>& frames);
    void WriteInPlace(const std::vector<PageFrame*>& frames);
    std::span<const std::uint8_t> Encoded(const PageFrame& frame, std::vector<std::uint8_t>& buffer) const;
    void SpillDirtyPages();
    void WriteEverything();
    void GiveUpOnDisk() noexcept;

    // Sharing
    void AcquireWrite();
    void TakeOver();
    void WaitForTurn();
    void ReleaseWrite();
    bool IsFlushDue();
    bool IsUnchanged(const Journal::State& state);
    void NoticeChanges(const Journal::State& state);
    void RequireUnchanged();
    void RequireNoForeignWrites();
    void RecoverIfNeeded();
    void DropCleanPages();

    Storage* storage_;
    std::string path_;
    std::unique_ptr<StorageFile> file_;
    DatabaseHeader header_;
    std::unique_ptr<LockFile> lockFile_;
    std::unique_ptr<Journal> journal_;
    bool readOnly_;
    bool exclusive_;
    std::uint32_t pageBytes_;
    PageNumber pageCount_ = 0;

    PageCache cache_;
    GlobalMap globalMap_;
    std::size_t dirtyCount_ = 0;
    std::uint64_t versions_ = 0;
    PageNumber lastMiss_ = 0;
    std::vector<std::uint8_t> readBuffer_;

    UndoLog undo_;
    std::uint64_t unitSerials_ = 0;
    std::uint64_t unitSerial_ = 0;  ///< of the innermost open unit
    std::uint64_t generation_ = 1;
    std::uint64_t releases_ = 0;

    bool startedClean_ = false;  ///< nothing was unwritten when the outermost unit began
    bool spilled_ = false;  ///< pages were written in place and given up by the cache since the last flush
    bool broken_ = false;   ///< memory and disk can no longer be brought together; only the journal can

    bool holdsWriteLock_ = false;
    bool strangersPresent_ = false;
    bool gaveWay_ = false;  ///< the lock was given back because someone waited
    Journal::State seen_;
    std::uint64_t seenMark_ = 0;  ///< the file's ChangeMark that goes with it
    Clock::time_point lockedSince_;
    Clock::time_point askedForWaiters_;
};

}  // namespace marrowkit::jet
