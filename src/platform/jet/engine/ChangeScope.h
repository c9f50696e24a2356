#pragma once

#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

/// The unit of one change. Checks come first, inside the unit too (so that nobody changes the file under
/// them); a check that refuses ends an empty unit, which costs nothing and leaves all caches valid. From
/// MarkChanging on, leaving without Commit rolls back.
class ChangeScope {
public:
    explicit ChangeScope(Pager& pager) : pager_(&pager) { pager.BeginUnit(); }
    ChangeScope(const ChangeScope&) = delete;
    ChangeScope& operator=(const ChangeScope&) = delete;
    ~ChangeScope() {
        if (pager_ == nullptr) return;
        if (!changing_) {
            try {
                pager_->CommitUnit();
                return;
            } catch (...) {  // NOLINT(bugprone-empty-catch): rolling back is the answer
            }
        }
        pager_->RollbackUnit();
    }
    void MarkChanging() { changing_ = true; }
    void Commit() {
        pager_->CommitUnit();
        pager_ = nullptr;
    }

private:
    Pager* pager_;
    bool changing_ = false;
};

}  // namespace marrowkit::jet
