#pragma once

#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

/// One change: it happens as a whole or not at all. Checks come first, inside a unit (the caller's, or one
/// begun here) so that nobody changes the file under them; a check that refuses costs nothing and leaves all
/// caches valid. From MarkChanging on, leaving without Commit rolls back.
class ChangeScope {
public:
    explicit ChangeScope(Pager& pager) : pager_(&pager) {
        if (pager.UnitDepth() == 0) BeginOwn();
    }
    ChangeScope(const ChangeScope&) = delete;
    ChangeScope& operator=(const ChangeScope&) = delete;
    ~ChangeScope() {
        if (!ownUnit_) return;
        if (!changing_) {
            try {
                pager_->CommitUnit();
                return;
            } catch (...) {  // NOLINT(bugprone-empty-catch): rolling back is the answer
            }
        }
        pager_->RollbackUnit();
    }
    void MarkChanging() {
        if (!ownUnit_) BeginOwn();
        changing_ = true;
    }
    /// In place of MarkChanging, for changes that have been prepared so far that nothing about them can fail.
    /// Within a unit of the caller they need none of their own, which would keep an image of every page they
    /// touch. REQUIRES: the scope's only changes, or MarkChanging came before.
    void MarkChangingSafely() { changing_ = true; }
    void Commit() {
        if (ownUnit_) pager_->CommitUnit();
        ownUnit_ = false;
    }

private:
    void BeginOwn() {
        pager_->BeginUnit();
        ownUnit_ = true;
    }

    Pager* pager_;
    bool ownUnit_ = false;
    bool changing_ = false;
};

}  // namespace marrowkit::jet
