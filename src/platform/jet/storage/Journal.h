#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/jet/format/Format.h"
#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet {

/// The rollback journal beside a database file: what pages held before a flush writes over them. See
/// Journal.cpp for its layout and for why replaying it is safe.
///
/// One flush: Begin, then for every batch of pages AddBefore and AddIntent followed by Seal, after which the
/// batch may be written in place; when the database file is synced, Finish.
class Journal {
public:
    Journal(Storage& storage, const std::string& databasePath);

    static std::string PathFor(const std::string& databasePath);

    /// Between Begin and Finish: what is on disk may be half of a flush.
    bool IsActive() const { return active_; }
    /// Starts recording for a file of `pages` whole pages, reading sample pages of it. Throws what creating
    /// and writing files throws.
    void Begin(StorageFile& database, std::uint32_t pageBytes, PageNumber pages);
    /// Pages of the file at Begin; the flush may add more.
    PageNumber OriginalPages() const { return originalPages_; }
    bool Has(PageNumber page) const { return page < recorded_.size() && recorded_[page]; }
    /// What the page holds in the file, as raw bytes. REQUIRES: !Has(page), page < OriginalPages().
    void AddBefore(PageNumber page, std::span<const std::uint8_t> bytes);
    /// What is going to be written there.
    void AddIntent(PageNumber page, std::span<const std::uint8_t> bytes);
    /// Returns once everything added is on stable storage. On an error the batch is forgotten, so that it may
    /// be added and sealed again.
    void Seal();
    /// The flush is complete and durable: the journal becomes void, and the change counter grows.
    void Finish();
    /// Puts the pages back into the file, as opening it after a crash would. REQUIRES: IsActive.
    void RollBack(StorageFile& database);

    enum class Recovery { NothingToDo, RolledBack, DidNotFit };
    /// Looks for a journal that an interrupted flush left, and undoes that flush. A journal that does not fit
    /// the file is renamed to `<journal>.unfit` and not used. REQUIRES: nobody else writes.
    Recovery Recover(StorageFile& database);
    /// Whether there is something to recover.
    bool NeedsRecovery();

    /// What other processes see.
    struct State {
        bool writing = false;       ///< a flush is under way, or was interrupted
        std::uint64_t counter = 0;  ///< differs after every flush; 0: nobody has written yet
        bool operator==(const State&) const = default;
    };
    /// The state that our own last flush left.
    State Current() const { return {active_, counter_}; }
    /// Reads the state off the disk. `reopen` also notices a journal that replaced the one seen before.
    State Peek(bool reopen);

    /// Deletes the file. REQUIRES: not active, and no other process uses it.
    void Remove() noexcept;

private:
    struct Header;
    static std::optional<Header> ReadHeader(StorageFile& file);
    static State StateOf(StorageFile& file);
    void WriteWritingHeader();
    StorageFile& File();
    void AddRecord(std::uint32_t kind, PageNumber page, std::span<const std::uint8_t> payload);
    void WritePending();
    void ForgetBatch();

    Storage* storage_;
    std::string path_;
    std::unique_ptr<StorageFile> file_;
    bool created_ = false;  ///< the name may not be durable yet

    bool active_ = false;
    bool everSealed_ = false;
    bool headerIsStale_ = false;        ///< a Finish failed and may have made the journal look void
    std::vector<std::uint8_t> header_;  ///< as Begin wrote it
    std::uint64_t salt_ = 0;
    std::uint64_t counter_ = 0;
    std::uint32_t pageBytes_ = 0;
    PageNumber originalPages_ = 0;
    std::vector<bool> recorded_;
    std::vector<PageNumber> batch_;  ///< recorded since the last Seal
    std::vector<std::uint8_t> pending_;
    std::uint64_t sealedEnd_ = 0;  ///< bytes of the journal that are durable
    std::uint64_t pendingAt_ = 0;  ///< where `pending_` goes
};

}  // namespace marrowkit::jet
