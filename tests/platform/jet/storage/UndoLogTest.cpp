#include <cstring>
#include <map>
#include <random>

#include <gtest/gtest.h>

#include "platform/jet/storage/Pager.h"
#include "platform/jet/storage/UndoLog.h"
#include "support/SparseStorage.h"

// Units that change more pages than fit into the memory that is kept for undoing them.

namespace marrowkit::jet::test {
namespace {

constexpr std::uint32_t kPageBytes = 4096;
/// 64 MB are kept in memory, so a third of these goes to the temporary file.
constexpr PageNumber kPages = 24000;

std::vector<std::uint8_t> Image(PageNumber page, std::uint32_t version) {
    std::vector<std::uint8_t> image(kPageBytes, static_cast<std::uint8_t>(page * 7 + version));
    std::memcpy(image.data(), &page, sizeof page);
    std::memcpy(image.data() + kPageBytes - sizeof version, &version, sizeof version);
    return image;
}

using Versions = std::map<PageNumber, std::uint32_t>;

void ExpectImages(UndoLog& log, const Versions& expected) {
    std::size_t count = 0;
    log.ForEach([&](PageNumber page, std::span<const std::uint8_t> bytes) {
        const auto found = expected.find(page);
        ASSERT_NE(found, expected.end());
        const auto image = Image(page, found->second);
        ASSERT_EQ(std::memcmp(bytes.data(), image.data(), kPageBytes), 0) << "page " << page;
        ++count;
    });
    EXPECT_EQ(count, expected.size());
}

TEST(UndoLogTest, KeepsWhatGoesBeyondItsMemory) {
    UndoLog log(kPageBytes);
    log.Begin(kPages);
    Versions outer;
    for (PageNumber page = 0; page < kPages; page += 2) {
        log.Save(page, Image(page, 1));
        outer[page] = 1;
    }
    // An inner unit changes others, and the same again; its end hands on what the outer one lacks.
    for (const std::uint32_t version : {2U, 3U}) {
        log.Begin(kPages);
        Versions inner;
        for (PageNumber page = 0; page < kPages; page += 1 + page % 3) {
            ASSERT_TRUE(log.NeedsImage(page));
            log.Save(page, Image(page, version));
            EXPECT_FALSE(log.NeedsImage(page));
            inner[page] = version;
        }
        ExpectImages(log, inner);
        if (version == 2) {
            log.Drop();
        } else {
            log.Merge();
            outer.insert(inner.begin(), inner.end());  // what is there stays
        }
        ExpectImages(log, outer);
    }
    log.Drop();
    EXPECT_TRUE(log.IsEmpty());
}

class LargeUnitTest : public ::testing::TestWithParam<JetVersion> {
protected:
    static constexpr PageNumber kFirst = 100;
    /// So many pages that their images need more than the 64 MB.
    PageNumber Last() const { return GetParam() == JetVersion::Jet3 ? 34000 : 17500; }
    void Mark(Pager& pager, std::uint32_t value) {
        for (PageNumber page = kFirst; page < Last(); ++page) {
            const PageEdit edit = pager.Edit(page);
            edit.Mutable().PutU32(0, page);
            edit.Mutable().PutU32(1000, value);
        }
    }
    void ExpectMarks(Pager& pager, std::uint32_t value) {
        for (PageNumber page = kFirst; page < Last(); ++page) {
            const PageRef ref = pager.Read(page);
            ASSERT_EQ(ref.Bytes().U32(1000), value) << "page " << page;
            ASSERT_EQ(ref.Bytes().U32(0), value == 0 ? 0 : page);
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Formats, LargeUnitTest, ::testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                         [](const auto& version) {
                             return version.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

TEST_P(LargeUnitTest, IsUndoneBeyondTheUndoLogsMemory) {
    SparseStorage storage;
    constexpr const char* kPath = "Large.mdb";
    std::uint32_t pageBytes = 0;
    {
        const auto pager = Pager::Create(storage, kPath, NewDatabaseHeader(GetParam(), 38000.5));
        pageBytes = pager->PageGeometry().pageBytes;
    }
    storage.Stretch(kPath, std::uint64_t{Last()} * pageBytes);
    PagerOptions options;
    options.cacheBytes = std::size_t{8} << 20;
    {
        const auto pager = Pager::Open(storage, kPath, options);
        {
            Unit unit(*pager);
            Mark(*pager, 1);
        }
        ExpectMarks(*pager, 0);
        {
            Unit outer(*pager);
            Mark(*pager, 2);
            {
                Unit inner(*pager);
                Mark(*pager, 3);
            }
            ExpectMarks(*pager, 2);
            {
                Unit inner(*pager);
                Mark(*pager, 4);
                inner.Commit();
            }
            ExpectMarks(*pager, 4);
        }
        ExpectMarks(*pager, 0);
        Unit unit(*pager);
        Mark(*pager, 5);
        unit.Commit();
    }
    const auto pager = Pager::Open(storage, kPath, options);
    ExpectMarks(*pager, 5);
    EXPECT_EQ(pager->PageCount(), Last());
}

}  // namespace
}  // namespace marrowkit::jet::test
