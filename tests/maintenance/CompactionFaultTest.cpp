// Compaction when something goes wrong: whatever happens, at whichever step, all games are in the database
// file or in the temporary one.
#include <csignal>
#include <filesystem>
#include <map>
#include <string>
#include <unistd.h>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "maintenance/CompactDatabase.h"
#include "maintenance/FrontendDatabase.h"
#include "platform/dao/Dao.h"
#include "platform/errors/RuntimeError.h"
#include "support/BothFormats.h"
#include "support/RecordingUserInterface.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::FrontendDatabase;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Message = test::RecordingUserInterface::Message;

constexpr int kGames = 120;
constexpr const char* kCompactFailed =
    "Compact Failed\r\n\r\nThis is one of those crap and annoying error messages that tells you absolutely "
    "nothing "
    "about WHY the operation failed, because the author probably doesn't have a clue why it failed!";

/// Counts the steps from 1 and does to one of them what `Trouble` says.
class TroubledDisk : public CompactionDisk {
public:
    enum class Trouble { None, Error, CrashBefore, CrashAfter };
    static constexpr int kSteps = 8;
    static constexpr int kDeleteOfDatabase = 6;
    static constexpr int kRename = 7;

    TroubledDisk(int at, Trouble trouble) : at_(at), trouble_(trouble) {}

    std::int32_t CountGames(const std::string& database) override {
        return Step<std::int32_t>([&] { return CompactionDisk::CountGames(database); });
    }
    std::int64_t Length(const std::string& file) override {
        return Step<std::int64_t>([&] { return CompactionDisk::Length(file); });
    }
    void Delete(const std::string& file) override {
        Step<int>([&] { return CompactionDisk::Delete(file), 0; });
    }
    void Compact(const std::string& from, const std::string& to) override {
        Step<int>([&] { return CompactionDisk::Compact(from, to), 0; });
    }
    void Rename(const std::string& from, const std::string& to) override {
        Step<int>([&] { return CompactionDisk::Rename(from, to), 0; });
    }
    int StepsDone() const { return step_; }

private:
    template <typename T, typename Work>
    T Step(const Work& work) {
        const bool troubled = ++step_ == at_;
        if (troubled && trouble_ == Trouble::Error) {
            SetLastPlatformErrorCode(EACCES);
            Raise(RuntimeErrorNumber::PermissionDenied);
        }
        if (troubled && trouble_ == Trouble::CrashBefore) _exit(1);
        T result = work();
        if (troubled && trouble_ == Trouble::CrashAfter) _exit(1);
        return result;
    }

    int at_;
    Trouble trouble_;
    int step_ = 0;
};

/// The copy has a game less than the original.
class LosingDisk : public CompactionDisk {
public:
    std::int32_t CountGames(const std::string& database) override {
        return CompactionDisk::CountGames(database) - (database.ends_with("vltemp.mdb") ? 1 : 0);
    }
};

class CompactionFaults : public test::BothFormats {
protected:
    CompactionFaults() : database_(2, 5, GetParam()), bytes_(DatabaseBytes()) {
        test::WriteFile(database_.HostFile(), bytes_);
        games_ = database_.Rows("SELECT * FROM Games ORDER BY GA_Id");
    }

    /// Made once for each format: every record is a write to the disk of its own.
    const std::string& DatabaseBytes() {
        static std::map<jet::JetVersion, std::string> made;
        std::string& bytes = made[GetParam()];
        if (!bytes.empty()) return bytes;
        dao::Database connection = dao::DBEngine().OpenDatabase(database_.Path());
        for (int i = 0; i < kGames; ++i) {
            connection.Execute("INSERT INTO Games (Name, MemoText) VALUES (\"Game " + std::to_string(i) +
                               "\", \"" + std::string(300, 'x') + "\")");
        }
        connection.Close();
        return bytes = test::ReadFile(database_.HostFile());
    }

    fs::path Temporary() const { return database_.HostFile().parent_path() / "vltemp.mdb"; }
    bool Compact(CompactionDisk& disk) {
        return CompactSelectedDatabase(ui_, database_.Path(), database_.Node().parentKey, disk);
    }
    /// Runs in a process of its own, which may end at any point of it. Returns its exit code.
    template <typename Work>
    static int InAProcess(const Work& work) {
        const pid_t child = fork();
        if (child == 0) _exit(work() ? 0 : 3);
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    /// The file holds every game and is sound. Looks at a copy: whatever a crash left beside it stays as it
    /// is.
    void ExpectWhole(const fs::path& file) {
        const FrontendDatabase copy(2, 5, GetParam());
        fs::copy_file(file, copy.HostFile(), fs::copy_options::overwrite_existing);
        EXPECT_EQ(copy.Rows("SELECT * FROM Games ORDER BY GA_Id"), games_);
        EXPECT_THAT(copy.Problems(), IsEmpty());
    }
    void ExpectOneWholeFile() {
        ExpectWhole(fs::exists(database_.HostFile()) ? database_.HostFile() : Temporary());
    }

    FrontendDatabase database_;
    std::string bytes_;
    std::vector<std::string> games_;
    test::RecordingUserInterface ui_;
};

TEST_P(CompactionFaults, TakeNoGameAtAnyStepAndAreReportedWithTheirNumbers) {
    for (int step = 1; step <= TroubledDisk::kSteps; ++step) {
        SCOPED_TRACE(step);
        test::WriteFile(database_.HostFile(), bytes_);
        fs::remove(Temporary());
        ui_ = {};
        TroubledDisk disk(step, TroubledDisk::Trouble::Error);
        EXPECT_FALSE(Compact(disk));
        EXPECT_EQ(disk.StepsDone(), step) << "nothing is done after an error";
        EXPECT_THAT(ui_.messages,
                    ElementsAre(Message{"Unable to compact database '" + database_.Path() +
                                            "'.\r\n\r\nPermission denied (70," + std::to_string(EACCES) + ")",
                                        MessageIcon::Error, "Marrow-Kit"}));
        if (step <= TroubledDisk::kDeleteOfDatabase) {
            EXPECT_EQ(test::ReadFile(database_.HostFile()), bytes_);
        } else {
            EXPECT_EQ(fs::exists(database_.HostFile()), step > TroubledDisk::kRename);
        }
        ExpectOneWholeFile();
    }
}

TEST_P(CompactionFaults, ARefusedRenameLeavesTheGamesInTheTemporaryFile) {
    TroubledDisk disk(TroubledDisk::kRename, TroubledDisk::Trouble::Error);
    EXPECT_FALSE(Compact(disk));
    EXPECT_FALSE(fs::exists(database_.HostFile()));
    ExpectWhole(Temporary());
    // The next run does not find the database, and deletes nothing either.
    CompactionDisk sound;
    EXPECT_FALSE(Compact(sound));
    EXPECT_EQ(ui_.messages.back(),
              (Message{"Could not find file: " + database_.Path(), MessageIcon::Information, "Vellora"}));
    ExpectWhole(Temporary());
}

TEST_P(CompactionFaults, ALostGameLeavesTheDatabaseUntouchedAndTheHourglassOn) {
    LosingDisk disk;
    EXPECT_FALSE(Compact(disk));
    EXPECT_THAT(ui_.messages, ElementsAre(Message{kCompactFailed, MessageIcon::Information, "Vellora"}));
    EXPECT_TRUE(ui_.hourglass);
    EXPECT_EQ(test::ReadFile(database_.HostFile()), bytes_);
    EXPECT_TRUE(fs::exists(Temporary()));
    // The next run deletes the temporary file and succeeds.
    CompactionDisk sound;
    EXPECT_TRUE(Compact(sound));
    EXPECT_FALSE(ui_.hourglass);
    EXPECT_FALSE(fs::exists(Temporary()));
    ExpectWhole(database_.HostFile());
}

TEST_P(CompactionFaults, ACrashAtAnyStepLeavesAWholeFileAndTheNextRunGoesOn) {
    for (const auto trouble : {TroubledDisk::Trouble::CrashBefore, TroubledDisk::Trouble::CrashAfter}) {
        for (int step = 1; step <= TroubledDisk::kSteps; ++step) {
            SCOPED_TRACE(step);
            test::WriteFile(database_.HostFile(), bytes_);
            fs::remove(Temporary());
            EXPECT_EQ(InAProcess([&] {
                          TroubledDisk disk(step, trouble);
                          return Compact(disk);
                      }),
                      1);
            ExpectOneWholeFile();
            const bool hasDatabase = fs::exists(database_.HostFile());
            const int firstWithoutDatabase = TroubledDisk::kDeleteOfDatabase;
            EXPECT_EQ(hasDatabase, trouble == TroubledDisk::Trouble::CrashBefore
                                       ? step != firstWithoutDatabase + 1
                                       : step != firstWithoutDatabase);
            CompactionDisk sound;
            EXPECT_EQ(Compact(sound), hasDatabase);
            ExpectOneWholeFile();
            EXPECT_EQ(fs::exists(Temporary()), !hasDatabase);
        }
    }
}

TEST_P(CompactionFaults, AFullDiskLeavesTheDatabaseUntouched) {
    for (const std::uintmax_t room :
         {std::uintmax_t{0}, std::uintmax_t{5000}, bytes_.size() / 4, bytes_.size() / 2}) {
        SCOPED_TRACE(room);
        int messages[2];
        ASSERT_EQ(pipe(messages), 0);
        // No file may grow beyond this size: the temporary one meets it like a full disk.
        EXPECT_EQ(InAProcess([&] {
                      signal(SIGXFSZ, SIG_IGN);
                      const rlimit limit{room, room};
                      if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return true;
                      CompactionDisk disk;
                      const bool compacted = Compact(disk);
                      const std::string text = ui_.messages.empty() ? "" : ui_.messages.back().text;
                      return write(messages[1], text.data(), text.size()) < 0 || compacted;
                  }),
                  3);
        close(messages[1]);
        std::string text(1000, '\0');
        text.resize(
            static_cast<std::size_t>(std::max<ssize_t>(0, read(messages[0], text.data(), text.size()))));
        close(messages[0]);
        EXPECT_THAT(text, StartsWith("Unable to compact database '" + database_.Path() + "'.\r\n\r\n"));
        EXPECT_THAT(text, HasSubstr(" (3026," + std::to_string(EFBIG) + ")"));
        EXPECT_EQ(test::ReadFile(database_.HostFile()), bytes_);
    }
    CompactionDisk sound;
    EXPECT_TRUE(Compact(sound));
    EXPECT_FALSE(fs::exists(Temporary()));
    ExpectWhole(database_.HostFile());
}

TEST_P(CompactionFaults, ADatabaseThatSomebodyHasOpenIsLeftAlone) {
    dao::Database frontend = dao::DBEngine().OpenDatabase(database_.Path());
    CompactionDisk disk;
    EXPECT_FALSE(Compact(disk));
    ASSERT_EQ(ui_.messages.size(), 1U);
    EXPECT_THAT(ui_.messages[0].text, HasSubstr("Unable to compact database"));
    EXPECT_EQ(ui_.messages[0].icon, MessageIcon::Error);
    EXPECT_EQ(test::ReadFile(database_.HostFile()), bytes_);
    frontend.Execute("INSERT INTO Games (Name) VALUES (\"Late\")");
    frontend.Close();
    EXPECT_EQ(database_.One("SELECT COUNT(*) FROM Games"), std::to_string(kGames + 1));
}

TEST_P(CompactionFaults, WhatSomebodyWritesMeanwhileIsNotThrownAway) {
    /// Somebody changes a game, with the database open for a moment only, while the copy is looked at.
    class BusyDisk : public CompactionDisk {
    public:
        std::int32_t CountGames(const std::string& database) override {
            const std::int32_t games = CompactionDisk::CountGames(database);
            if (database == temporary_) {
                dao::Database frontend = dao::DBEngine().OpenDatabase(source_);
                frontend.Execute("UPDATE Games SET Name = \"Late\" WHERE Name = \"Game 7\"");
                frontend.Close();
            }
            return games;
        }
        void Compact(const std::string& from, const std::string& to) override {
            CompactionDisk::Compact(from, to);
            source_ = from;
            temporary_ = to;
        }

    private:
        std::string source_;
        std::string temporary_;
    };
    BusyDisk disk;
    EXPECT_FALSE(Compact(disk));
    ASSERT_EQ(ui_.messages.size(), 1U);
    EXPECT_THAT(ui_.messages[0].text,
                testing::AllOf(HasSubstr("Unable to compact database"), HasSubstr(" (3197,0)")));
    EXPECT_EQ(database_.One("SELECT COUNT(*) FROM Games WHERE Name = \"Late\""), "1");
    CompactionDisk sound;
    EXPECT_TRUE(Compact(sound));
    EXPECT_EQ(database_.One("SELECT COUNT(*) FROM Games WHERE Name = \"Late\""), "1");
    EXPECT_FALSE(fs::exists(Temporary()));
}

TEST_P(CompactionFaults, TheFileStaysItsOwnersWhenAnotherCompactsIt) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
    constexpr uid_t kOwner = 12345;
    constexpr gid_t kGroup = 23456;
    ASSERT_EQ(chown(database_.HostFile().c_str(), kOwner, kGroup), 0);
    fs::permissions(database_.HostFile(), fs::perms::owner_read | fs::perms::owner_write);
    CompactionDisk disk;
    EXPECT_TRUE(Compact(disk));
    struct stat info {};
    ASSERT_EQ(stat(database_.HostFile().c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, kOwner);
    EXPECT_EQ(info.st_gid, kGroup);
    EXPECT_EQ(info.st_mode & 07777U, 0600U);
}

TEST_P(CompactionFaults, AFolderThatMayNotBeChangedKeepsItsDatabase) {
    const fs::path folder = database_.HostFile().parent_path();
    if (geteuid() == 0) {
        // Permissions do not bind root: an ordinary user tries.
        fs::permissions(database_.LibraryFolder(), fs::perms::all);
        fs::permissions(folder, fs::perms::all);
        fs::permissions(database_.HostFile(), fs::perms::all);
    }
    /// After the copy has been made, nothing in the folder may be removed any more.
    class ClosingDisk : public CompactionDisk {
    public:
        explicit ClosingDisk(fs::path folder) : folder_(std::move(folder)) {}
        std::int32_t CountGames(const std::string& database) override {
            const std::int32_t games = CompactionDisk::CountGames(database);
            if (!database.ends_with("vltemp.mdb")) return games;
            fs::permissions(folder_, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                         fs::perms::others_exec);
            constexpr uid_t kNobody = 65534;
            if (geteuid() == 0 && seteuid(kNobody) != 0) _exit(9);
            return games;
        }

    private:
        fs::path folder_;
    };
    EXPECT_EQ(InAProcess([&] {
                  ClosingDisk disk(folder);
                  const bool compacted = Compact(disk);
                  const std::string end =
                      "\r\n\r\nPath/File access error (75," + std::to_string(EACCES) + ")";
                  return compacted || ui_.messages.size() != 1 || !ui_.messages[0].text.ends_with(end);
              }),
              3);
    fs::permissions(folder, fs::perms::owner_all);
    EXPECT_EQ(test::ReadFile(database_.HostFile()), bytes_);
    ExpectWhole(database_.HostFile());
}

MARROWKIT_TEST_BOTH_FORMATS(CompactionFaults);

}  // namespace
}  // namespace marrowkit
