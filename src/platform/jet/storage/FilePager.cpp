#include "platform/jet/storage/FilePager.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/process/StopRequest.h"

namespace marrowkit::jet {

namespace {

/// Pages read at once when pages are asked for one after the other.
constexpr PageNumber kReadAheadPages = 16;

/// Pages below the largest size that only the global map may take, for noting what is given back: else
/// nothing could be deleted from a full file. It needs 33 at most, one for every 16352 pages in Jet 3.
constexpr PageNumber kPagesForGlobalMap = 40;

}  // namespace

// cppcheck-suppress passedByValue ; its parts are moved from
FilePager::FilePager(OpenedDatabase opened)
    : Pager(opened.header.PageGeometry()),
      storage_(opened.storage),
      path_(std::move(opened.path)),
      file_(std::move(opened.file)),
      header_(std::move(opened.header)),
      lockFile_(std::move(opened.lockFile)),
      journal_(std::move(opened.journal)),
      readOnly_(opened.readOnly),
      exclusive_(opened.exclusive),
      pageBytes_(PageGeometry().pageBytes),
      pageCount_(static_cast<PageNumber>(file_->Size() / pageBytes_)),
      cache_(pageBytes_, opened.cacheBytes),
      globalMap_(*this, [this] { return AppendPage(0); }),
      undo_(pageBytes_) {
    if (exclusive_) return;
    seen_ = journal_->Peek(true);
    seenMark_ = file_->ChangeMark();
}

FilePager::~FilePager() {
    Settle();
    if (journal_->IsActive()) return;  // whoever opens the file next recovers it

    try {
        if (readOnly_) return;
        const bool nobodyComes = exclusive_ || Enter(Gate::Going, *file_);
        const bool alone = exclusive_ || !file_->IsLockedByOther(kPresenceLock, 1, true);
        if (lockFile_) lockFile_->Leave(nobodyComes);
        if (nobodyComes && alone) journal_->Remove();
    } catch (const std::exception&) {
        return;  // left-over companions are harmless
    }
}

void FilePager::Settle() noexcept {
    while (!undo_.IsEmpty()) RollbackUnit();
    try {
        if (dirtyCount_ != 0 || journal_->IsActive()) Flush();
    } catch (const std::exception&) {
        GiveUpOnDisk();
    }
}

// ---- Pages

PageRef FilePager::Read(PageNumber page) {
    PageFrame* frame = cache_.Find(page);
    if (frame == nullptr) frame = FrameOf(page);
    frame->referenced = true;
    return MakeRef(frame);
}

PageFrame* FilePager::FrameOf(PageNumber page) {
    if (PageFrame* frame = cache_.Find(page)) return frame;
    LeaveIfStopRequested();
    if (page >= pageCount_) {
        if (!exclusive_ && !holdsWriteLock_) RequireUnchanged();
        RaiseCorrupt(path_, "page " + std::to_string(page) + " is asked for, but the file ends at page " +
                                std::to_string(pageCount_));
    }
    // What everything begins with, the catalog's rows and the first definitions, lies behind the catalog's
    // page.
    const bool sequential = page == lastMiss_ + 1 || page == kCatalogPage;
    lastMiss_ = page;
    PageFrame* frame = Obtain(page);
    try {
        ReadFromFile(page, frame);
    } catch (...) {
        cache_.Drop(frame);
        throw;
    }
    if (sequential) {
        const PageRef kept = MakeRef(frame);  // room for the pages ahead is not made by giving this one up
        ReadAhead(page + 1);
    }
    if (!exclusive_ && !holdsWriteLock_) RequireUnchanged();
    return frame;
}

/// A frame for a page that is not in the cache, making room if need be.
PageFrame* FilePager::Obtain(PageNumber page) {
    // Not only when no clean page is left: the last few would be read and given up in turns.
    if (cache_.IsFull() && dirtyCount_ > cache_.BudgetFrames() / 8 * 7) SpillDirtyPages();
    PageFrame* frame = cache_.TakeAlways(page);
    frame->version = ++versions_;
    return frame;
}

void FilePager::ReadFromFile(PageNumber page, PageFrame* frame) {
    const std::span<std::uint8_t> bytes(frame->bytes, pageBytes_);
    if (file_->Read(std::uint64_t{page} * pageBytes_, bytes) != pageBytes_) {
        RaiseCorrupt(path_, "the file ends within page " + std::to_string(page));
    }
    ApplyPageEncoding(header_.databaseKey, page, bytes);
}

/// Scans read many pages with one call. Pages that are cached already stay as they are.
void FilePager::ReadAhead(PageNumber first) {
    const PageNumber end = std::min(pageCount_, first + kReadAheadPages);
    if (first >= end || cache_.Find(first) != nullptr) return;
    readBuffer_.resize(std::size_t{kReadAheadPages} * pageBytes_);
    const std::size_t wanted = std::size_t{end - first} * pageBytes_;
    std::size_t got = 0;
    try {
        got = file_->Read(std::uint64_t{first} * pageBytes_, std::span(readBuffer_).first(wanted));
    } catch (const RuntimeError&) {
        return;  // whoever really needs the page that cannot be read will hear of it
    }
    for (PageNumber page = first; page < end && std::size_t{page - first + 1} * pageBytes_ <= got; ++page) {
        if (cache_.Find(page) != nullptr) continue;
        PageFrame* frame = cache_.Take(page);
        if (frame == nullptr) return;
        frame->version = ++versions_;
        std::memcpy(frame->bytes, readBuffer_.data() + std::size_t{page - first} * pageBytes_, pageBytes_);
        ApplyPageEncoding(header_.databaseKey, page, {frame->bytes, pageBytes_});
        lastMiss_ = page;
    }
}

void FilePager::RequireWritable() const {
    if (undo_.IsEmpty()) {
        throw RuntimeError(static_cast<int>(RuntimeErrorNumber::InternalError),
                           "A page was to be changed outside of a unit.");
    }
    if (readOnly_) RaiseJet(JetError::ReadOnly);
    if (strangersPresent_) RaiseJet(JetError::FileInUse, {path_});
    if (broken_) RaiseJet(JetError::DiskError);
}

PageEdit FilePager::Edit(PageNumber page) {
    RequireWritable();
    LeaveIfStopRequested();
    return EditFrame(FrameOf(page));
}

PageEdit FilePager::EditFrame(PageFrame* frame) {
    PageEdit edit = MakeEdit(frame);
    if (frame->unit != unitSerial_) {
        if (undo_.NeedsImage(frame->number)) undo_.Save(frame->number, {frame->bytes, pageBytes_});
        frame->unit = unitSerial_;
    }
    MarkDirty(frame);
    return edit;
}

void FilePager::MarkDirty(PageFrame* frame) {
    if (!frame->dirty) {
        frame->dirty = true;
        ++dirtyCount_;
    }
    frame->referenced = true;
    frame->version = ++versions_;
}

// ---- Allocation

PageEdit FilePager::Allocate() {
    RequireWritable();
    if (const auto page = globalMap_.Take()) {
        PageEdit edit = Edit(*page);
        edit.Mutable().Fill(0, pageBytes_, 0);
        cache_.Find(*page)->checked = false;
        return edit;
    }
    PageEdit edit = AppendPage(kPagesForGlobalMap);
    globalMap_.NoteAppended(edit.Number());
    return edit;
}

/// `spared`: pages that must stay below the largest size after this one.
PageEdit FilePager::AppendPage(PageNumber spared) {
    if (std::uint64_t{pageCount_ + 1 + spared} * pageBytes_ > PageGeometry().maxFileBytes) {
        RaiseJet(JetError::DatabaseFull);
    }
    PageFrame* frame = Obtain(pageCount_);
    std::memset(frame->bytes, 0, pageBytes_);
    ++pageCount_;
    frame->unit = unitSerial_;  // it did not exist before the unit
    MarkDirty(frame);
    return MakeEdit(frame);
}

void FilePager::FormatNew() {
    Unit unit(*this);
    {
        const PageEdit page = AppendPage(0);
        GlobalMap::Format(*this, page, pageCount_);
    }
    unit.Commit();
    Flush();
}

void FilePager::Release(PageNumber page) {
    {
        const PageEdit edit = Edit(page);
        const bool definition = edit.Type() == PageType::TableDefinition;
        edit.Mutable().PutU8(
            0, static_cast<std::uint8_t>(definition ? PageType::ReleasedDefinition : PageType::ReleasedData));
        cache_.Find(page)->checked = false;
    }
    globalMap_.Give(page);
    ++releases_;
}

// ---- Units

void FilePager::BeginUnit() {
    if (undo_.IsEmpty()) {
        LeaveIfStopRequested();
        AcquireWrite();
        startedClean_ = dirtyCount_ == 0 && !journal_->IsActive();
    }
    undo_.Begin(pageCount_);
    unitSerial_ = ++unitSerials_;
}

void FilePager::CommitUnit() {
    // The flush comes first: when it fails, the unit is still open and can be rolled back.
    if (undo_.Depth() == 1 && IsFlushDue()) {
        WriteEverything();
        undo_.Merge();
        return ReleaseWrite();
    }
    undo_.Merge();
    unitSerial_ = ++unitSerials_;
}

void FilePager::RollbackUnit() noexcept {
    if (undo_.IsEmpty()) return;
    try {
        const PageNumber pages = undo_.PageCount();
        for (PageNumber page = pages; page < pageCount_; ++page) {
            if (PageFrame* frame = cache_.Find(page)) {
                if (frame->dirty) --dirtyCount_;
                cache_.Drop(frame);
            }
        }
        pageCount_ = pages;
        undo_.ForEach([this](PageNumber page, std::span<const std::uint8_t> image) {
            PageFrame* frame = cache_.Find(page);
            if (frame == nullptr) frame = cache_.TakeAlways(page);
            std::memcpy(frame->bytes, image.data(), pageBytes_);
            frame->checked = false;
            MarkDirty(frame);
        });
    } catch (const std::exception&) {
        broken_ = true;
    }
    undo_.Drop();
    unitSerial_ = ++unitSerials_;
    globalMap_.ForgetHint();
    mapPageHint = 0;
    ++generation_;
    if (undo_.IsEmpty() && startedClean_ && !broken_ && !journal_->IsActive()) {
        // Every page is again what it is on disk, so there is nothing to write and no reason to keep others
        // waiting.
        for (PageFrame& frame : cache_.Frames()) frame.dirty = false;
        dirtyCount_ = 0;
        try {
            ReleaseWrite();
        } catch (const std::exception&) {
            broken_ = true;  // not even a lock can be given back: the file is gone from under us
        }
    }
}

// ---- Writing

namespace {

/// In the order of the file.
void SortByNumber(std::vector<PageFrame*>& frames) {
    std::ranges::sort(frames, {}, &PageFrame::number);
}

}  // namespace

std::vector<PageFrame*> FilePager::DirtyFrames(bool withPinned) {
    std::vector<PageFrame*> frames;
    frames.reserve(dirtyCount_);
    for (PageFrame& frame : cache_.Frames()) {
        if (frame.dirty && !frame.detached && (withPinned || frame.pins == 0)) frames.push_back(&frame);
    }
    return frames;
}

/// The page as it goes to disk; `buffer` holds it when it has to be encoded.
std::span<const std::uint8_t> FilePager::Encoded(const PageFrame& frame,
                                                 std::vector<std::uint8_t>& buffer) const {
    const std::span<const std::uint8_t> plain(frame.bytes, pageBytes_);
    if (header_.databaseKey == 0 || frame.number == 0) return plain;
    buffer.assign(plain.begin(), plain.end());
    ApplyPageEncoding(header_.databaseKey, frame.number, buffer);
    return buffer;
}

/// Has the journal say, durably, what these pages hold on disk and what will be written there.
void FilePager::RecordBatch(const std::vector<PageFrame*>& frames) {
    if (!journal_->IsActive()) {
        RequireNoForeignWrites();
        journal_->Begin(*file_, pageBytes_, static_cast<PageNumber>(file_->Size() / pageBytes_));
    }
    std::vector<std::uint8_t> before(pageBytes_);
    std::vector<std::uint8_t> encoded;
    for (const PageFrame* frame : frames) {
        if (frame->number < journal_->OriginalPages() && !journal_->Has(frame->number)) {
            if (file_->Read(std::uint64_t{frame->number} * pageBytes_, before) != pageBytes_) {
                RaiseJet(JetError::DiskReadError);
            }
            journal_->AddBefore(frame->number, before);
        }
        journal_->AddIntent(frame->number, Encoded(*frame, encoded));
    }
    journal_->Seal();
}

/// Neighbouring pages go out in one write.
void FilePager::WriteInPlace(const std::vector<PageFrame*>& frames) {
    constexpr std::size_t kMostPages = 64;
    std::vector<std::uint8_t> run;
    std::vector<std::uint8_t> encoded;
    for (std::size_t i = 0; i < frames.size();) {
        const PageNumber first = frames[i]->number;
        run.clear();
        std::size_t count = 0;
        for (; count < kMostPages && i < frames.size() && frames[i]->number == first + count; ++i, ++count) {
            const auto bytes = Encoded(*frames[i], encoded);
            run.insert(run.end(), bytes.begin(), bytes.end());
        }
        file_->Write(std::uint64_t{first} * pageBytes_, run);
    }
}

/// The cache is full of changed pages: some are written before their unit ends. Those that were changed last
/// stay, because they are likely to be changed again: in an index that is met in no order a page has its turn
/// every now and then, while pages of rows met one after the other are done with. Pinned ones stay as well,
/// their holders may still be changing them.
void FilePager::SpillDirtyPages() {
    std::vector<PageFrame*> frames = DirtyFrames(false);
    if (frames.empty()) return;
    const std::size_t written = (frames.size() + 3) / 4;
    std::ranges::nth_element(frames, frames.begin() + static_cast<std::ptrdiff_t>(written) - 1, {},
                             &PageFrame::version);
    frames.resize(written);
    SortByNumber(frames);
    RecordBatch(frames);
    WriteInPlace(frames);
    for (PageFrame* frame : frames) frame->dirty = false;
    dirtyCount_ -= frames.size();
    spilled_ = true;
}

void FilePager::WriteEverything() {
    if (broken_) RaiseJet(JetError::DiskError);
    if (dirtyCount_ == 0 && !journal_->IsActive()) return;
    std::vector<PageFrame*> frames = DirtyFrames(true);
    SortByNumber(frames);
    if (!frames.empty()) {
        RecordBatch(frames);
        WriteInPlace(frames);
    }
    const std::uint64_t bytes = std::uint64_t{pageCount_} * pageBytes_;
    if (file_->Size() > bytes)
        file_->Truncate(bytes);  // an early written page of a unit that was rolled back
    try {
        file_->Sync();
    } catch (...) {
        // What the host failed to sync it may have thrown away. Pages still here are written again; those
        // given up are lost, and only the journal leads back to a good state.
        broken_ = spilled_;
        throw;
    }
    journal_->Finish();
    for (PageFrame* frame : frames) frame->dirty = false;
    dirtyCount_ = 0;
    spilled_ = false;
    seen_ = journal_->Current();
    if (!exclusive_) seenMark_ = file_->ChangeMark();
}

void FilePager::Flush() {
    WriteEverything();
    if (undo_.IsEmpty()) ReleaseWrite();
}

/// The last flush failed and nobody is left to try again: the file goes back to the flush before.
void FilePager::GiveUpOnDisk() noexcept {
    if (!journal_->IsActive()) return;
    try {
        journal_->RollBack(*file_);
    } catch (const std::exception&) {
        return;  // the journal stays; opening the file will use it
    }
}

}  // namespace marrowkit::jet
