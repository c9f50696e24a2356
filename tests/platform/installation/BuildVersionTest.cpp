#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/installation/BuildVersion.h"

namespace marrowkit {
namespace {

TEST(BuildVersion, NamesTheVersionAndTheCommit) {
    EXPECT_THAT(BuildVersionText(),
                testing::MatchesRegex(R"(Marrowkit [0-9]+\.[0-9]+ \(commit [-.0-9A-Za-z]+\))"));
}

}  // namespace
}  // namespace marrowkit
