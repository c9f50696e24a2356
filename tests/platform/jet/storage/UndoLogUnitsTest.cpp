#include <algorithm>
#include <csignal>
#include <map>

#include <gtest/gtest.h>

#ifndef _WIN32
#include <sys/resource.h>
#endif

#include "platform/errors/RuntimeError.h"
#include "platform/jet/storage/UndoLog.h"

namespace marrowkit::jet::test {
namespace {

constexpr std::uint32_t kPageBytes = 4096;
/// More images than stay in memory: 100 MB.
constexpr PageNumber kManyPages = 25'000;

std::vector<std::uint8_t> Image(PageNumber page, std::uint8_t unit) {
    std::vector<std::uint8_t> image(kPageBytes, unit);
    for (int i = 0; i < 4; ++i) image[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(page >> 8 * i);
    return image;
}

/// Which unit saved the image of each page that the innermost unit would restore.
std::map<PageNumber, int> UnitsOfImages(UndoLog& log) {
    std::map<PageNumber, int> units;
    log.ForEach([&](PageNumber page, std::span<const std::uint8_t> image) {
        const std::uint8_t unit = image.back();
        EXPECT_TRUE(std::ranges::equal(image, Image(page, unit))) << page;
        EXPECT_TRUE(units.emplace(page, unit).second) << page;
    });
    return units;
}

void SaveRange(UndoLog& log, PageNumber first, PageNumber end, std::uint8_t unit) {
    for (PageNumber page = first; page < end; ++page) {
        if (log.NeedsImage(page)) log.Save(page, Image(page, unit));
    }
}

TEST(UndoLogUnits, KeepsMoreImagesThanMemoryHolds) {
    UndoLog log(kPageBytes);
    log.Begin(kManyPages);
    SaveRange(log, 0, kManyPages, 1);
    const auto units = UnitsOfImages(log);
    EXPECT_EQ(units.size(), kManyPages);
    log.Drop();
    EXPECT_TRUE(log.IsEmpty());
}

TEST(UndoLogUnits, PassesToTheOuterUnitWhatItLacks) {
    UndoLog log(kPageBytes);
    log.Begin(kManyPages);
    SaveRange(log, 0, kManyPages, 1);
    for (std::uint8_t unit = 2; unit < 20; ++unit) {
        // Pages that the outer unit has, one that did not exist when it began, and none that it lacks.
        log.Begin(kManyPages + 100);
        SaveRange(log, unit * 1000U, unit * 1000U + 10, unit);
        SaveRange(log, kManyPages + 3, kManyPages + 4, unit);
        EXPECT_EQ(UnitsOfImages(log).size(), 11U);
        log.Merge();
    }
    for (const auto& [page, unit] : UnitsOfImages(log)) EXPECT_EQ(unit, 1) << page;
    log.Drop();

    log.Begin(kManyPages);
    SaveRange(log, 10, 20, 1);
    log.Begin(kManyPages);
    SaveRange(log, 0, kManyPages, 2);
    log.Merge();
    const auto units = UnitsOfImages(log);
    EXPECT_EQ(units.size(), kManyPages);
    for (const auto& [page, unit] : units) EXPECT_EQ(unit, page >= 10 && page < 20 ? 1 : 2) << page;
}

#ifndef _WIN32

/// While it lives no file can be written to behind so many bytes.
class FilesEndAt {
public:
    explicit FilesEndAt(rlim_t bytes) : oldHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
        EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &old_), 0);
        const rlimit limit{bytes, old_.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    FilesEndAt(const FilesEndAt&) = delete;
    FilesEndAt& operator=(const FilesEndAt&) = delete;
    ~FilesEndAt() {
        setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, oldHandler_);
    }

private:
    void (*oldHandler_)(int);
    rlimit old_{};
};

TEST(UndoLogUnits, ATemporaryFileThatFailsAsUnitsMergeMixesUpNoImages) {
    UndoLog log(kPageBytes);
    log.Begin(kManyPages);
    for (PageNumber page = 0; page < kManyPages; page += 100) log.Save(page, Image(page, 1));
    log.Begin(kManyPages);
    SaveRange(log, 0, kManyPages, 2);
    bool merged = true;
    try {
        const FilesEndAt full(rlim_t{1000} * kPageBytes);
        log.Merge();
    } catch (const RuntimeError&) {
        merged = false;
    }
    const auto units = UnitsOfImages(log);
    EXPECT_EQ(units.size(), kManyPages);
    for (const auto& [page, unit] : units) EXPECT_EQ(unit, merged && page % 100 == 0 ? 1 : 2) << page;
}

#endif

TEST(UndoLogUnits, GoesOnBehindALargeInnerUnitThatWasDropped) {
    UndoLog log(kPageBytes);
    log.Begin(kManyPages);
    SaveRange(log, 0, 100, 1);
    log.Begin(kManyPages);
    SaveRange(log, 0, kManyPages, 2);
    log.Drop();
    EXPECT_EQ(UnitsOfImages(log).size(), 100U);
    log.Begin(kManyPages);
    SaveRange(log, 50, 1000, 3);
    EXPECT_EQ(UnitsOfImages(log).size(), 950U);
    log.Merge();
    const auto units = UnitsOfImages(log);
    EXPECT_EQ(units.size(), 1000U);
    for (const auto& [page, unit] : units) EXPECT_EQ(unit, page < 100 ? 1 : 3) << page;
}

}  // namespace
}  // namespace marrowkit::jet::test
