#include <algorithm>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include <gmock/gmock.h>

#include "platform/files/DriveFixture.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FolderSearch.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

class FolderSearchTest : public test::DriveFixture {
protected:
    static std::vector<std::string> Names(std::string_view pattern) {
        std::vector<std::string> names;
        for (FileSearch search(pattern); search.Found(); search.Next())
            names.push_back(search.Current().name);
        return names;
    }
};

struct WildcardCase {
    const char* pattern;
    const char* name;
    bool fits;
};

constexpr WildcardCase kWildcards[] = {
    {"*", "a", true},           {"*", "a.b", true},
    {"*.*", "a", true},         {"*.*", "a.b", true},
    {"*.zip", "a.ZIP", true},   {"*.ZIP", "a.b.zip", true},
    {"*.zip", "zip", false},    {"*.zip", "a.zip.x", false},
    {"*.zip", ".zip", true},    {"a*", "Abc", true},
    {"a*c", "abbc", true},      {"a*c", "abcd", false},
    {"?.txt", "ä.txt", true},   {"?.txt", "ab.txt", false},
    {"??", "a", false},         {"*ä*", "xÄy", true},
    {"a*b*c", "a-b-b-c", true}, {"a*b*c", "a-c-b", false},
    {"abc", "ABC", true},       {"abc", "abcd", false},
    {"", "a", false},           {"*.", "abc", true},
    {"*.", "a.b", false},       {"**a", "ba", true},
    {"*.*.*", "a.b", false},    {"*[1].zip", "x[1].zip", true},
};

TEST(Wildcards, FitAsThePlatformsDo) {
    for (const WildcardCase& c : kWildcards) {
        EXPECT_EQ(Wildcards(c.pattern).Fits(c.name), c.fits) << c.pattern << " " << c.name;
    }
}

TEST(Wildcards, ManyStarsDoNotTakeForever) {
    std::string pattern;
    for (int i = 0; i < 200; ++i) pattern += "*a";
    EXPECT_FALSE(Wildcards(pattern + "b").Fits(std::string(5000, 'a')));
}

TEST_F(FolderSearchTest, FindsFilesAndFoldersByPattern) {
    Write("Roms/a.zip", "12345");
    Write("Roms/B.ZIP", "");
    Write("Roms/c.d64", "x");
    Write("Roms/Sub.zip/x", "x");
    EXPECT_THAT(Names("C:\\Roms\\*"), UnorderedElementsAre("a.zip", "B.ZIP", "c.d64", "Sub.zip"));
    EXPECT_THAT(Names("c:\\roms\\*.*"), UnorderedElementsAre("a.zip", "B.ZIP", "c.d64", "Sub.zip"));
    EXPECT_THAT(Names("C:\\Roms\\*.ZIP"), UnorderedElementsAre("a.zip", "B.ZIP", "Sub.zip"));
    EXPECT_THAT(Names("C:\\Roms\\A.ZIP"), ElementsAre("a.zip"));
    EXPECT_THAT(Names("C:\\Roms\\*.exe"), ElementsAre());
    EXPECT_THAT(Names("C:\\none\\*"), ElementsAre());
    EXPECT_THAT(Names("C:\\Roms\\a.zip\\*"), ElementsAre());
    EXPECT_THAT(Names("Q:\\*"), ElementsAre());
    EXPECT_THAT(Names("C:\\*"), ElementsAre("Roms"));

    const FileSearch search("C:\\Roms\\a.zip");
    ASSERT_TRUE(search.Found());
    EXPECT_EQ(search.Current().sizeLow, 5U);
    EXPECT_EQ(search.Current().sizeHigh, 0U);
    EXPECT_EQ(search.Current().attributes, kAttributeArchive);
    EXPECT_TRUE(FileSearch("C:\\Roms\\Sub.zip").Current().IsFolder());
}

TEST_F(FolderSearchTest, LargeSizesComeInTwoWords) {
    Write("big", "");
    fs::resize_file(Host("big"), (std::uintmax_t{1} << 32U) + 7);  // sparse
    const FileSearch search("C:\\big");
    ASSERT_TRUE(search.Found());
    EXPECT_EQ(search.Current().sizeLow, 7U);
    EXPECT_EQ(search.Current().sizeHigh, 1U);
}

TEST_F(FolderSearchTest, LeavesOutNamesThatWindowsCannotHave) {
    for (const char* name :
         {"good ä.txt", "back\\slash", "co:lon", "undecodable\xE4", "dot.", "blank ", "line\nend"}) {
        Write(name, "x");
    }
    EXPECT_THAT(Names("C:\\*"), ElementsAre("good ä.txt"));
}

TEST_F(FolderSearchTest, FollowsLinksButNotInCircles) {
    Write("Roms/real/a.zip", "123");
    fs::create_symlink("real/a.zip", Host("Roms/link.zip"));
    fs::create_symlink("nowhere", Host("Roms/dangling.zip"));
    fs::create_directory_symlink("real", Host("Roms/again"));
    fs::create_directory_symlink("..", Host("Roms/real/up"));
    fs::create_directory_symlink(".", Host("Roms/self"));
    EXPECT_THAT(Names("C:\\Roms\\*"), UnorderedElementsAre("real", "link.zip", "again"));
    EXPECT_THAT(Names("C:\\Roms\\real\\*"), UnorderedElementsAre("a.zip"));
    EXPECT_THAT(Names("C:\\Roms\\again\\*"), UnorderedElementsAre("a.zip"));
    EXPECT_EQ(FileSearch("C:\\Roms\\link.zip").Current().sizeLow, 3U);
}

TEST_F(FolderSearchTest, FindsTheSameNamesAndKindsWhenOnlyKindsAreWanted) {
    Write("Roms/real/a.zip", "123");
    Write("Roms/.hidden", "");
    fs::create_symlink("real/a.zip", Host("Roms/link.zip"));
    fs::create_symlink("nowhere", Host("Roms/dangling.zip"));
    fs::create_directory_symlink("real", Host("Roms/again"));
    fs::create_directory_symlink(".", Host("Roms/self"));
    const auto all = ListFolder("C:\\Roms");
    const auto kinds = ListFolder("C:\\Roms", FoundDetails::KindOnly);
    ASSERT_EQ(all.size(), 4U);
    ASSERT_EQ(kinds.size(), all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(kinds[i].name, all[i].name);
        EXPECT_EQ(kinds[i].IsFolder(), all[i].IsFolder()) << all[i].name;
    }
}

TEST_F(FolderSearchTest, FindsNothingInAFolderThatMayBeListedButNotEntered) {
    Write("closed/a.zip", "123");
    fs::permissions(Host("closed"), fs::perms(0444));
    const bool root = geteuid() == 0;
    constexpr uid_t kNobody = 65534;
    if (root && seteuid(kNobody) != 0) FAIL() << "no right to become somebody else";
    const bool mayList = !fs::is_empty(Host("closed"));
    const auto all = ListFolder("C:\\closed");
    const auto kinds = ListFolder("C:\\closed", FoundDetails::KindOnly);
    if (root && seteuid(0) != 0) FAIL() << "no right to become somebody else";
    fs::permissions(Host("closed"), fs::perms(0755));
    EXPECT_TRUE(mayList);
    EXPECT_TRUE(all.empty());
    EXPECT_TRUE(kinds.empty());
    EXPECT_EQ(ListFolder("C:\\closed", FoundDetails::KindOnly).size(), 1U);
}

TEST_F(FolderSearchTest, AttributesTellKindAndPermission) {
    Write("d/a", "x");
    Write("d/.hidden", "x");
    Write("d/readonly", "x");
    fs::permissions(Host("d/readonly"), fs::perms(0444));
    EXPECT_EQ(AttributesOf("C:\\d"), kAttributeDirectory);
    EXPECT_EQ(AttributesOf("C:\\D\\"), kAttributeDirectory);
    EXPECT_EQ(AttributesOf("C:\\d\\A"), kAttributeArchive);
    EXPECT_EQ(AttributesOf("C:\\d\\.hidden"), kAttributeArchive | kAttributeHidden);
    EXPECT_EQ(AttributesOf("C:\\d\\readonly"), kAttributeArchive | kAttributeReadOnly);
    EXPECT_EQ(AttributesOf("C:\\d\\none"), kAttributesInvalid);
    EXPECT_EQ(AttributesOf("Q:\\"), kAttributesInvalid);
}

TEST_F(FolderSearchTest, ListFolderKeepsTheFileSystemsOrder) {
    for (int i = 0; i < 50; ++i) Write("d/" + std::to_string(i * 7919 % 50), "x");
    std::vector<std::string> expected;
    for (const auto& entry : fs::directory_iterator(Host("d")))
        expected.push_back(entry.path().filename().string());
    std::vector<std::string> names;
    for (const FoundFile& file : ListFolder("C:\\d")) names.push_back(file.name);
    EXPECT_EQ(names, expected);
    EXPECT_THAT(ListFolder("C:\\none"), ElementsAre());
}

TEST_F(FolderSearchTest, ListFilesByPatternIsAlphabetical) {
    for (const char* name :
         {"beta.ini", "Alpha.INI", "gamma.txt", ".hidden.ini", "alpha2.ini", "Ärger.ini"}) {
        Write(name, "x");
    }
    fs::create_directory(Host("folder.ini"));
    EXPECT_THAT(ListFilesByPattern("C:\\", "*.ini"),
                ElementsAre("Alpha.INI", "alpha2.ini", "beta.ini", "Ärger.ini"));
    EXPECT_THAT(ListFilesByPattern("C:\\none", "*.ini"), ElementsAre());
}

TEST_F(FolderSearchTest, AHundredThousandFilesAreNoProblem) {
    constexpr int kFiles = 100'000;
    fs::create_directory(Host("many"));
    for (int i = 0; i < kFiles; ++i) std::ofstream(Host("many") / ("game " + std::to_string(i) + ".zip"));
    EXPECT_EQ(ListFolder("C:\\many").size(), static_cast<std::size_t>(kFiles));
    EXPECT_EQ(ListFilesByPattern("C:\\many", "*.ZIP").size(), static_cast<std::size_t>(kFiles));

    // Reading the folder again for each of these would take hours.
    fs::last_write_time(Host("many"), fs::file_time_type::clock::now() - std::chrono::hours(1));
    int found = 0;
    for (int i = 0; i < 2 * kFiles; i += 20) {
        found += IsFile("C:\\many\\GAME " + std::to_string(i) + ".ZIP") ? 1 : 0;
    }
    EXPECT_EQ(found, kFiles / 20);
}

}  // namespace
}  // namespace marrowkit
