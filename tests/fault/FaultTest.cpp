// Damaged files are answered or refused: no crash, no hang, no numbers made up, and compaction never turns
// them into a file that is worse. MARROWKIT_TEST_SCALE multiplies the number of damages per file.

#include <cstdlib>
#include <functional>
#include <ostream>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fault/Corruption.h"
#include "fault/MemoryStorage.h"
#include "fault/Survival.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/compact/Compact.h"
#include "platform/jet/engine/Database.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

namespace marrowkit::test {
namespace {

namespace fs = std::filesystem;
using Bytes = MemoryStorage::Bytes;

Bytes ReadBytes(const fs::path& file) {
    const std::string text = ReadFile(file);
    return {text.begin(), text.end()};
}

std::uint32_t Scale() {
    const char* scale = std::getenv("MARROWKIT_TEST_SCALE");
    return scale == nullptr ? 1 : std::max(1U, static_cast<std::uint32_t>(std::strtoul(scale, nullptr, 10)));
}

TEST(FaultTest, DamagedDatabasesAreAnsweredOrRefused) {
    MARROWKIT_NEED_TEST_DATA();
    constexpr std::uint32_t kDamagesPerFile = 25;
    constexpr double kSecondsAllowed = 10;
    double slowest = 0;
    for (const fs::path& file : SampleFiles("mdb", ".mdb")) {
        const Bytes genuine = ReadBytes(file);
        for (std::uint32_t seed = 0; seed < kDamagesPerFile * Scale(); ++seed) {
            Bytes bytes = genuine;
            SCOPED_TRACE(file.filename().string() + ", seed " + std::to_string(seed) + ": " +
                         Corrupt(bytes, seed));
            const Survival survival = Survive(bytes);
            EXPECT_THAT(survival.ills, testing::IsEmpty());
            EXPECT_LT(survival.cpuSeconds, kSecondsAllowed);
            slowest = std::max(slowest, survival.cpuSeconds);
            if (HasFailure()) return;
        }
    }
    RecordProperty("slowest_seconds", std::to_string(slowest));
}

/// What is wrong with a file, wherever it lies in it: places go away in a copy.
std::set<std::string> KindsOfProblems(const std::string& path, MemoryStorage& storage) {
    std::set<std::string> kinds;
    for (const jet::Problem& problem : jet::Check(path, 1000, &storage)) {
        std::string kind = problem.table + ": " + problem.what;
        std::erase_if(kind, [](char c) { return c >= '0' && c <= '9'; });
        kinds.insert(kind);
    }
    return kinds;
}

/// A value that was hit can refer to no row, or be the key of another: told of first in a copy, whose indexes
/// agree with its rows again.
bool IsAboutValues(const std::string& kind) {
    return kind.find(": relationship ") != std::string::npos || kind.ends_with("has the key of another row");
}

/// A compaction that succeeds has lost nothing of what could be read: nothing is wrong with the copy of a
/// damaged file but what its values say, or there is no copy.
TEST(FaultTest, CopiesOfDamagedDatabasesAreSound) {
    MARROWKIT_NEED_TEST_DATA();
    std::size_t copies = 0;
    for (const fs::path& file : SampleFiles("mdb", ".mdb")) {
        const Bytes genuine = ReadBytes(file);
        for (std::uint32_t seed = 1000; seed < 1000 + 10 * Scale(); ++seed) {
            MemoryStorage storage;
            Bytes bytes = genuine;
            SCOPED_TRACE(file.filename().string() + ", seed " + std::to_string(seed) + ": " +
                         Corrupt(bytes, seed));
            storage.Put("damaged.mdb", bytes);
            jet::OpenOptions options;
            options.storage = &storage;
            try {
                jet::Compact("damaged.mdb", "copy.mdb", options);
            } catch (const RuntimeError&) {
                continue;
            }
            ++copies;
            const std::set<std::string> known = KindsOfProblems("damaged.mdb", storage);
            for (const std::string& kind : KindsOfProblems("copy.mdb", storage)) {
                EXPECT_TRUE(known.contains(kind) || IsAboutValues(kind)) << kind;
            }
            storage.Put("again.mdb", storage.Get("copy.mdb"));
            jet::Compact("again.mdb", "copy2.mdb", options);
            EXPECT_EQ(storage.Get("copy.mdb").size(), storage.Get("copy2.mdb").size());
        }
    }
    EXPECT_GT(copies, 0U);
}

struct BadFile {
    const char* name;
    Bytes (*make)();
    int expected;  ///< error of opening
};

void PrintTo(const BadFile& one, std::ostream* out) {
    *out << one.name;
}

Bytes FromText(const std::string& text) {
    return {text.begin(), text.end()};
}

/// The first bytes of a database with another format version.
Bytes WithVersion(std::uint8_t version, std::size_t size) {
    Bytes bytes = FromText(std::string("\x00\x01\x00\x00Standard Jet DB\x00", 20));
    bytes.resize(size);
    bytes[0x14] = version;
    return bytes;
}

const BadFile kBadFiles[] = {
    {"Empty", [] { return Bytes{}; }, 3343},
    {"OneByte", [] { return Bytes{0}; }, 3343},
    {"ShorterThanTheSignature", [] { return FromText(std::string("\x00\x01\x00\x00Stand", 9)); }, 3343},
    {"ShorterThanTheHeader", [] { return WithVersion(1, 0x60); }, 3343},
    {"Text",
     [] { return FromText("This is no database, it only claims to be one." + std::string(9000, '!')); },
     3343},
    {"Zeros", [] { return Bytes(65536, 0); }, 3343},
    {"LaterFormat",
     [] {
         Bytes bytes = FromText(std::string("\x00\x01\x00\x00Standard ACE DB\x00", 20));
         bytes.resize(65536);
         bytes[0x14] = 2;
         return bytes;
     },
     3343},
    {"LaterVersion", [] { return WithVersion(2, 65536); }, 3343},
};

class BadFileTest : public testing::TestWithParam<BadFile> {};

TEST_P(BadFileTest, IsRefusedWithItsError) {
    MemoryStorage storage;
    storage.Put("bad.mdb", GetParam().make());
    jet::OpenOptions options;
    options.readOnly = true;
    options.storage = &storage;
    try {
        jet::Database::Open("bad.mdb", options);
        FAIL() << "it was opened";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, GetParam().expected) << error.description;
        EXPECT_NE(error.description.find("bad.mdb"), std::string::npos);
    }
    EXPECT_EQ(jet::Check("bad.mdb", 10, &storage).size(), 1U);
    EXPECT_THROW(jet::Compact("bad.mdb", "copy.mdb", options), RuntimeError);
    EXPECT_FALSE(storage.Exists("copy.mdb"));
}

INSTANTIATE_TEST_SUITE_P(Files, BadFileTest, testing::ValuesIn(kBadFiles),
                         [](const testing::TestParamInfo<BadFile>& file) {
                             return std::string(file.param.name);
                         });

TEST(FaultTest, ADatabaseCutShortIsDamaged) {
    MARROWKIT_NEED_TEST_DATA();
    for (const fs::path& file : SampleFiles("mdb/jet4", ".mdb")) {
        if (file.filename().string().starts_with("password")) continue;
        const Bytes genuine = ReadBytes(file);
        for (const std::size_t size :
             {std::size_t{4096}, std::size_t{2 * 4096}, genuine.size() / 2, genuine.size() - 1}) {
            SCOPED_TRACE(file.filename().string() + " cut to " + std::to_string(size));
            MemoryStorage storage;
            storage.Put("cut.mdb",
                        Bytes(genuine.begin(), genuine.begin() + static_cast<std::ptrdiff_t>(size)));
            EXPECT_FALSE(jet::Check("cut.mdb", 10, &storage).empty());
            if (size > 2 * 4096) continue;
            jet::OpenOptions options;
            options.readOnly = true;
            options.storage = &storage;
            try {
                jet::Database::Open("cut.mdb", options);
                ADD_FAILURE() << "it was opened";
            } catch (const RuntimeError& error) {
                EXPECT_EQ(error.number, 3049) << error.description;
            }
        }
    }
}

TEST(FaultTest, ADatabaseWithAPasswordIsRefused) {
    MARROWKIT_NEED_TEST_DATA();
    bool found = false;
    for (const fs::path& file : SampleFiles("mdb/jet4", ".mdb")) {
        if (!file.filename().string().starts_with("password")) continue;
        found = true;
        MemoryStorage storage;
        storage.Put("locked.mdb", ReadBytes(file));
        jet::OpenOptions options;
        options.readOnly = true;
        options.storage = &storage;
        for (const auto& action : {std::function([&] { jet::Database::Open("locked.mdb", options); }),
                                   std::function([&] { jet::Compact("locked.mdb", "copy.mdb", options); })}) {
            try {
                action();
                ADD_FAILURE() << "no error";
            } catch (const RuntimeError& error) {
                EXPECT_EQ(error.number, 3031);
                EXPECT_EQ(error.description, "Not a valid password.");
            }
        }
        EXPECT_FALSE(storage.Exists("copy.mdb"));
    }
    EXPECT_TRUE(found);
}

}  // namespace
}  // namespace marrowkit::test
