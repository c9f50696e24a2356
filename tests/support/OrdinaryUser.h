#pragma once

#include <filesystem>
#include <unistd.h>

#include <gtest/gtest.h>

namespace marrowkit::test {

/// While it lives, the process has the rights of an ordinary user, so that permissions count also where root
/// runs the tests. Then everything in `own` belongs to that user, and nothing else that the test made.
class OrdinaryUser {
public:
    explicit OrdinaryUser(const std::filesystem::path& own) {
        if (geteuid() != 0) return;
        constexpr uid_t kNobody = 65534;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(own)) {
            if (lchown(entry.path().c_str(), kNobody, kNobody) != 0) ADD_FAILURE() << entry.path();
        }
        if (chown(own.c_str(), kNobody, kNobody) != 0) ADD_FAILURE() << own;
        wasRoot_ = seteuid(kNobody) == 0;
        EXPECT_TRUE(wasRoot_) << "cannot become an ordinary user";
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() {
        if (wasRoot_ && seteuid(0) != 0) ADD_FAILURE() << "cannot become root again";
    }

private:
    bool wasRoot_ = false;
};

}  // namespace marrowkit::test
