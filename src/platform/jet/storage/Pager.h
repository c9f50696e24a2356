#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/DatabaseHeader.h"
#include "platform/jet/format/Format.h"
#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet {

class Pager;

/// A page in memory, as the pager keeps it. Everyone else holds it through the handles below.
struct PageFrame {
    std::uint8_t* bytes = nullptr;
    std::uint32_t pageBytes = 0;
    PageNumber number = 0;
    std::uint32_t pins = 0;
    bool referenced = false;  ///< used since the cache last looked for a page to give up
    bool dirty = false;       ///< not on disk as it is here
    bool checked = false;     ///< see PageRef::IsChecked
    bool detached = false;    ///< stands for no page any more; memory is free again when the last pin goes
    std::uint64_t version = 0;
    std::uint64_t unit = 0;  ///< serial of the unit that has saved what this page held before it
};

/// One cached page, pinned for as long as this lives. Movable, not copyable. REQUIRES: the pager outlives it.
class PageRef {
public:
    PageRef() = default;
    PageRef(PageRef&& other) noexcept : frame_(std::exchange(other.frame_, nullptr)) {}
    PageRef& operator=(PageRef&& other) noexcept {
        std::swap(frame_, other.frame_);
        return *this;
    }
    PageRef(const PageRef&) = delete;
    PageRef& operator=(const PageRef&) = delete;
    ~PageRef() {
        if (frame_ != nullptr) --frame_->pins;
    }

    PageNumber Number() const { return frame_->number; }
    PageType Type() const { return static_cast<PageType>(frame_->bytes[0]); }
    ByteView Bytes() const { return std::span<const std::uint8_t>(frame_->bytes, frame_->pageBytes); }
    explicit operator bool() const { return frame_ != nullptr; }

    /// Differs from an earlier answer for the same page when its bytes may have changed in between.
    std::uint64_t Version() const { return frame_->version; }
    /// Whether someone has found the structure of the page sound since it was read from the file. What we
    /// write ourselves stays sound, so each page is checked once, not at every visit.
    bool IsChecked() const { return frame_->checked; }
    void MarkChecked() const { frame_->checked = true; }

protected:
    friend class Pager;
    explicit PageRef(PageFrame* frame) : frame_(frame) { ++frame_->pins; }
    PageFrame* frame_ = nullptr;
};

/// A pinned page that may be changed. Only inside a unit.
class PageEdit : public PageRef {
public:
    PageEdit() = default;
    MutableByteView Mutable() const { return std::span<std::uint8_t>(frame_->bytes, frame_->pageBytes); }

private:
    friend class Pager;
    using PageRef::PageRef;
};

struct PagerOptions {
    bool readOnly = false;
    /// Nobody else may have the file open (compaction, creation).
    bool exclusive = false;
    std::size_t cacheBytes = std::size_t{64} << 20;
};

/// A database file seen as numbered pages: cache, page encoding, allocation, atomic units, sharing.
///
/// **Units.** All changes happen between BeginUnit and CommitUnit; RollbackUnit restores what every page held
/// at BeginUnit. Units nest (a statement inside a transaction); an inner rollback undoes the inner unit only.
/// No PageEdit may live on when its unit ends. A committed unit is durable after the next Flush. Flush
/// happens when asked for, when the last reference to the pager goes, when another process waits for its turn
/// to write or was kept from it for a while, and when too many changed pages have piled up; so a crash loses
/// whole units at most, from the last backwards, and never a part of one. The last three are looked for when
/// a unit ends: whoever goes idle calls Flush.
///
/// **Journal.** Before a flush writes over pages, what they hold goes to `<file>.mkjournal` and is made
/// durable; when all pages are, the journal is declared void. Opening a file whose journal is not void undoes
/// the interrupted flush, if the journal belongs to this very state of the file (see Journal.cpp); a journal
/// that does not fit is never replayed and set aside. Memory stays bounded: of a unit that changes more
/// pages than the cache holds, those changed longest ago are written early, the same way.
///
/// When a flush fails, nothing committed is lost: a later one tries again. When the host refuses to make
/// pages durable that were written early, the pager refuses everything that follows (3043), and closing it
/// takes the file back to the last complete flush.
///
/// **Sharing.** Opening the same file twice in one process gives the same pager (see Open). Other processes
/// are noticed through the .ldb file; a unit takes the file's write lock, looks whether the file changed
/// since, and drops stale pages. An open file that a stranger to this scheme uses as well is read, not
/// written (3045), and not even read when an interrupted flush has to be undone first; units committed before
/// the stranger came are flushed unless it has written since. Reading outside of a unit raises 3197 when
/// another process's flush got in between pages that must go together; the operation can be repeated at once.
///
/// Not for use by several threads at once.
///
/// Damage (a page beyond the end, a read error) raises 3049 / 3040 with the page number.
class Pager : public std::enable_shared_from_this<Pager> {
public:
    /// The process's pager of this file, opened when it is not yet. Throws 3024, 3044, 3051, 3343 (not Jet
    /// 3/4), 3031 (has a password), 3045/3356/3704 (used by others), 3049 (too short, not whole pages).
    static std::shared_ptr<Pager> Open(Storage& storage, const std::string& path,
                                       const PagerOptions& options = {});
    /// A new file: page 0 from the header and page 1 with the global map; nothing else. Exclusive. Throws
    /// 3204 when the file exists.
    static std::shared_ptr<Pager> Create(Storage& storage, const std::string& path,
                                         const DatabaseHeader& header, const PagerOptions& options = {});
    /// For a process that exits without closing what it has open: rolls back the open units of all pagers and
    /// writes what was committed. Whoever still holds one must not use it any more.
    static void SettleAll() noexcept;
    virtual ~Pager() = default;

    virtual const std::string& Path() const = 0;
    virtual const DatabaseHeader& Header() const = 0;
    const Geometry& PageGeometry() const { return *geometry_; }
    virtual bool IsReadOnly() const = 0;
    virtual PageNumber PageCount() const = 0;

    virtual PageRef Read(PageNumber page) = 0;
    /// REQUIRES: a unit is open. Throws 3027 on a read-only database, 3045 while a stranger uses it.
    virtual PageEdit Edit(PageNumber page) = 0;

    /// A zeroed page, taken from the free pages of the global map or added at the end of the file. Throws
    /// 3036 when the file may not grow any more, 3026 when the disk is full. REQUIRES: a unit is open.
    virtual PageEdit Allocate() = 0;
    /// Gives a page back to the global map. Its owner must have dropped it from its own maps.
    virtual void Release(PageNumber page) = 0;
    /// Whether the global map says the page is free.
    virtual bool IsFree(PageNumber page) = 0;

    /// Throws 3046 when another process keeps writing for too long.
    virtual void BeginUnit() = 0;
    /// Throws what Flush throws when a flush is due; the unit is open still then.
    virtual void CommitUnit() = 0;
    virtual void RollbackUnit() noexcept = 0;
    /// 0 outside of units.
    virtual int UnitDepth() const = 0;
    /// Everything committed becomes durable and visible to other processes, and they get their turn to write.
    /// REQUIRES: no unit is open. Throws 3026 / 3043 and what creating the journal throws (3051).
    virtual void Flush() = 0;
    /// Notices what other processes have written: drops stale pages and raises Generation(). For the start of
    /// every operation that reads outside of a unit (BeginUnit does it by itself); costs one small read of
    /// the journal's header while others may have the file open, nothing otherwise. Throws 3046 when
    /// another process is in the middle of writing for too long.
    virtual void Refresh() = 0;
    /// Raises what Open does (3045/3356/3704) when somebody has come who does not keep to the exclusive mode:
    /// the frontend knows nothing of our locks. REQUIRES: opened exclusively.
    virtual void RaiseWhenInUse() = 0;
    /// Grows whenever pages may have changed under cached knowledge of them: a rollback, another process's
    /// write. Whoever keeps something derived from pages (catalog, definitions) compares and reads again.
    virtual std::uint64_t Generation() const = 0;
    /// Grows with Generation() and with every Release(): a page number remembered as belonging to a table or
    /// an index still does while this stands.
    virtual std::uint64_t LayoutEpoch() const = 0;

    /// The page of usage maps that took new maps last, 0 for none yet; kept here because every table's maps
    /// go to the same pages.
    PageNumber mapPageHint = 0;

protected:
    explicit Pager(const Geometry& geometry) : geometry_(&geometry) {}
    static PageRef MakeRef(PageFrame* frame) { return PageRef(frame); }
    static PageEdit MakeEdit(PageFrame* frame) { return PageEdit(frame); }

private:
    const Geometry* geometry_;
};

/// Begins a unit, and rolls it back unless Commit() was called.
class Unit {
public:
    explicit Unit(Pager& pager) : pager_(&pager) { pager.BeginUnit(); }
    Unit(const Unit&) = delete;
    Unit& operator=(const Unit&) = delete;
    ~Unit() {
        if (pager_) pager_->RollbackUnit();
    }
    void Commit() {
        pager_->CommitUnit();
        pager_ = nullptr;
    }

private:
    Pager* pager_;
};

}  // namespace marrowkit::jet
