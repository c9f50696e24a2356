#pragma once

#include <string>
#include <utility>

#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet {

/// Removes a file that is being made unless it was finished. Declare it before whatever holds the file open.
class NewFileGuard {
public:
    NewFileGuard(Storage& storage, std::string path) : storage_(&storage), path_(std::move(path)) {}
    NewFileGuard(const NewFileGuard&) = delete;
    NewFileGuard& operator=(const NewFileGuard&) = delete;
    ~NewFileGuard() {
        if (finished_) return;
        try {
            storage_->Remove(path_);
        } catch (...) {  // NOLINT(bugprone-empty-catch): the error that brought us here is the one to report
        }
    }
    void Finished() { finished_ = true; }

private:
    Storage* storage_;
    std::string path_;
    bool finished_ = false;
};

}  // namespace marrowkit::jet
