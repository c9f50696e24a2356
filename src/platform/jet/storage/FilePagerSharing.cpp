#include <algorithm>
#include <chrono>
#include <thread>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/FilePager.h"

// Several of our processes on one file.
//
// Whoever begins a unit takes the write lock and keeps it over many units, until its next flush; so a run of
// statements costs one flush, not one each. A process that wants its turn announces itself and tries again
// every now and then; the holder looks for that at the end of each unit and flushes when someone waits or
// when the lock has been held for a while: a short one when others have the file open, who may want to read.
//
// The journal's header carries a counter that changes with every flush, and says while pages are being
// written. Taking the write lock, and refreshing before a read, compare it with what was seen last and drop
// the cached pages when it differs. A reader compares it after every page that it had to get from the disk,
// too: pages of before and after somebody's flush never meet in one answer.

namespace marrowkit::jet {

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;

/// How long another process may keep us from writing or reading.
constexpr auto kLongestWait = seconds(10);
/// How long a holder keeps unflushed units to itself while others have the file open.
constexpr auto kLongestHold = milliseconds(200);
/// How long while nobody else has: as much as a crash may take back. A flush makes the disk wait three times.
constexpr auto kLongestHoldAlone = seconds(2);
/// How often a busy holder looks whether anyone waits.
constexpr auto kAskForWaiters = milliseconds(1);
constexpr auto kPause = microseconds(500);
/// How long those who come may keep one who goes. What it leaves lying then is harmless.
constexpr auto kLongestFarewell = milliseconds(500);

}  // namespace

bool FilePager::Enter(Gate gate, StorageFile& database) {
    const bool alone = gate == Gate::Going;
    const auto start = Clock::now();
    while (!database.TryLock(kGateLock, 1, alone)) {
        if (Clock::now() - start > (alone ? kLongestFarewell : kLongestWait)) return false;
        std::this_thread::sleep_for(kPause);
    }
    return true;
}

void FilePager::AcquireWrite() {
    if (exclusive_ || readOnly_ || holdsWriteLock_) return;
    WaitForTurn();
    lockedSince_ = askedForWaiters_ = Clock::now();
    TakeOver();
}

/// REQUIRES: the write lock was just taken; it is given back on an error. What a process that died was
/// writing is undone, and what others have written is noticed.
void FilePager::TakeOver() {
    holdsWriteLock_ = true;
    try {
        strangersPresent_ = lockFile_->AreStrangersPresent();
        RecoverIfNeeded();
        NoticeChanges(journal_->Peek(false));
    } catch (...) {
        ReleaseWrite();
        throw;
    }
}

void FilePager::WaitForTurn() {
    const auto start = Clock::now();
    if (gaveWay_) {
        // Who was asked to give way would be first again without a moment's patience.
        gaveWay_ = false;
        while (lockFile_->DoOthersWait() && !lockFile_->IsWriteLockedByOther() &&
               Clock::now() - start < milliseconds(50)) {
            std::this_thread::sleep_for(kPause);
        }
    }
    if (lockFile_->TryLockWrite()) return;
    lockFile_->AnnounceWaiting(true);
    while (!lockFile_->TryLockWrite()) {
        if (Clock::now() - start > kLongestWait) {
            lockFile_->AnnounceWaiting(false);
            RaiseJet(JetError::SaveLocked);
        }
        std::this_thread::sleep_for(kPause);
    }
    lockFile_->AnnounceWaiting(false);
}

void FilePager::ReleaseWrite() {
    if (!holdsWriteLock_) return;
    holdsWriteLock_ = false;
    // Until here nobody else could write, so whatever the journal says now is our own doing: a flush, or one
    // that failed before it touched the file.
    try {
        seen_ = journal_->Peek(false);
    } catch (const RuntimeError&) {
        seen_ = {true, 0};  // nothing known: everything is read again
    }
    gaveWay_ = lockFile_->DoOthersWait();
    lockFile_->UnlockWrite();
}

/// At the end of an outermost unit.
bool FilePager::IsFlushDue() {
    if (dirtyCount_ > cache_.BudgetFrames() / 2) return true;
    if (!holdsWriteLock_) return false;
    const auto now = Clock::now();
    const auto held = now - lockedSince_;
    if (held > kLongestHoldAlone) return true;
    if (now - askedForWaiters_ < kAskForWaiters) return false;
    askedForWaiters_ = now;
    return lockFile_->DoOthersWait() || (held > kLongestHold && !lockFile_->IsAlone());
}

/// REQUIRES: the write lock, and strangersPresent_ is up to date. Another process died while it wrote: what
/// it was doing is undone. Under a stranger's feet it cannot be, and half of it must not be read either.
void FilePager::RecoverIfNeeded() {
    if (!journal_->NeedsRecovery()) return;
    if (strangersPresent_) RaiseJet(JetError::FileInUse, {path_});
    journal_->Recover(*file_);
    DropCleanPages();
}

/// The journal tells of our own processes' writes. A program that knows nothing of it may have had the file
/// open, written and left, so the file itself is asked as well.
bool FilePager::IsUnchanged(const Journal::State& state) {
    return state == seen_ && file_->ChangeMark() == seenMark_;
}

void FilePager::NoticeChanges(const Journal::State& state) {
    if (IsUnchanged(state)) return;
    seen_ = state;
    seenMark_ = file_->ChangeMark();
    DropCleanPages();
}

/// A page was just read without holding the write lock. If someone has begun to write since the last refresh,
/// it need not go with the pages read before, and what is being done with them cannot go on.
void FilePager::RequireUnchanged() {
    const Journal::State state = journal_->Peek(lockFile_ == nullptr);
    if (IsUnchanged(state)) return;
    NoticeChanges(state);
    RaiseJet(JetError::ChangedByOther);
}

/// A stranger may have come after our units were let in, since it knows nothing of the write lock, and may
/// have left again. What it has written meanwhile is not in our pages: they stay unwritten then, and whoever
/// waits for them hears of it. REQUIRES: nothing was written since the last flush.
void FilePager::RequireNoForeignWrites() {
    if (exclusive_ || !lockFile_ || file_->ChangeMark() == seenMark_) return;
    RaiseJet(JetError::FileInUse, {path_});
}

/// REQUIRES: no page is dirty.
void FilePager::DropCleanPages() {
    for (PageFrame& frame : cache_.Frames()) {
        if (!frame.detached && cache_.Find(frame.number) == &frame) cache_.Drop(&frame);
    }
    pageCount_ = static_cast<PageNumber>(file_->Size() / pageBytes_);
    globalMap_.ForgetHint();
    mapPageHint = 0;
    ++generation_;
}

void FilePager::Refresh() {
    if (exclusive_ || holdsWriteLock_ || !undo_.IsEmpty()) return;
    Journal::State state = journal_->Peek(lockFile_ == nullptr);
    const auto start = Clock::now();
    while (state.writing) {
        if (lockFile_ && lockFile_->TryLockWrite()) {
            // Nobody is writing any more: the writer is done, or it died.
            TakeOver();
            ReleaseWrite();
        } else if (Clock::now() - start > kLongestWait) {
            RaiseJet(JetError::SaveLocked);
        } else {
            std::this_thread::sleep_for(kPause);
        }
        state = journal_->Peek(true);
    }
    NoticeChanges(state);
}

}  // namespace marrowkit::jet
