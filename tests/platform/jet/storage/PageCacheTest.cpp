#include <new>
#include <vector>

#include <gtest/gtest.h>

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__)
#include <sys/resource.h>
#endif

#include "platform/jet/storage/PageCache.h"

namespace marrowkit::jet::test {
namespace {

constexpr std::uint32_t kPageBytes = 2048;
constexpr PageNumber kFrames = 64;

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__)

/// Asks for a page whose number needs a table larger than the memory that the process may have.
void ExpectNoMemoryForAFarPage(PageCache& cache) {
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &old), 0);
    const rlimit limit{rlim_t{8} << 30, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
    EXPECT_THROW(cache.Take(0xFFFFFFF0), std::bad_alloc);
    EXPECT_THROW(cache.TakeAlways(0xFFFFFFF0), std::bad_alloc);
    setrlimit(RLIMIT_AS, &old);
}

TEST(PageCache, GoesOnAfterATableThatMemoryWasTooSmallFor) {
    PageCache cache(kPageBytes, kFrames * kPageBytes);
    ExpectNoMemoryForAFarPage(cache);
    for (PageNumber page = 0; page < kFrames; ++page) cache.Take(page)->referenced = false;
    ExpectNoMemoryForAFarPage(cache);

    // One page of each after the other is held and has to stay, whoever else comes and goes.
    for (PageNumber kept = 0; kept < kFrames; ++kept) {
        PageFrame* frame = cache.Find(kept);
        if (frame == nullptr) frame = cache.TakeAlways(kept);
        ++frame->pins;
        for (PageNumber page = 1000; page < 1000 + 2 * kFrames; ++page) {
            if (cache.Find(page) == nullptr) {
                EXPECT_EQ(cache.TakeAlways(page)->number, page);
            }
        }
        EXPECT_EQ(cache.Find(kept), frame);
        --frame->pins;
    }
    EXPECT_EQ(cache.Frames().size(), kFrames);
}

#endif

}  // namespace
}  // namespace marrowkit::jet::test
