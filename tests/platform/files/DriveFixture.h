#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "platform/files/HostPath.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {

/// A temporary folder that is drive C: for the time of the test.
class DriveFixture : public testing::Test {
protected:
    DriveFixture() { UseDrives(DriveMap({{'C', Root()}})); }
    ~DriveFixture() override { UseDrives(DriveMap()); }

    std::string Root() const { return std::filesystem::canonical(folder_.Path()).string(); }
    std::filesystem::path Host(std::string_view relative) const {
        return std::filesystem::path(Root()) / relative;
    }
    void Write(std::string_view relative, std::string_view bytes) const { WriteFile(Host(relative), bytes); }
    std::string Read(std::string_view relative) const { return ReadFile(Host(relative)); }

private:
    TemporaryFolder folder_;
};

}  // namespace marrowkit::test
