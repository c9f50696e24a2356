// Compaction when something goes wrong: whatever happens, at whichever step, all games are in the database
// file or in the temporary one.
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <utility>

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

/// Counts the steps from 1 and tells of each before and after it is done.
class SteppedDisk : public CompactionDisk {
public:
    static constexpr int kSteps = 8;
    static constexpr int kCountOfCopy = 5;
    static constexpr int kDeleteOfDatabase = 6;
    static constexpr int kRename = 7;

    std::int32_t CountGames(const std::string& database) override {
        return Step<std::int32_t>([&] { return CompactionDisk::CountGames(database); });
    }
    std::int64_t Length(const std::string& file) override {
        return Step<std::int64_t>([&] { return CompactionDisk::Length(file); });
    }
    void Delete(const std::string& file) override {
        Step<int>([&] { return CompactionDisk::Delete(file), 0; });
    }
    void DeleteHeld(const std::string& file) override {
        Step<int>([&] { return CompactionDisk::DeleteHeld(file), 0; });
    }
    void Compact(const std::string& from, const std::string& to) override {
        Step<int>([&] { return CompactionDisk::Compact(from, to), 0; });
    }
    void Rename(const std::string& from, const std::string& to) override {
        Step<int>([&] { return CompactionDisk::Rename(from, to), 0; });
    }
    int StepsDone() const { return step_; }

protected:
    virtual void Before(int step) = 0;
    virtual void After(int step) = 0;

private:
    template <typename T, typename Work>
    T Step(const Work& work) {
        Before(++step_);
        T result = work();
        After(step_);
        return result;
    }

    int step_ = 0;
};

/// Does to one step what `Trouble` says.
class TroubledDisk : public SteppedDisk {
public:
    enum class Trouble { None, Error, CrashBefore, CrashAfter };

    TroubledDisk(int at, Trouble trouble) : at_(at), trouble_(trouble) {}

private:
    void Before(int step) override {
        if (step != at_) return;
        if (trouble_ == Trouble::Error) {
            SetLastPlatformErrorCode(EACCES);
            Raise(RuntimeErrorNumber::PermissionDenied);
        }
        if (trouble_ == Trouble::CrashBefore) _exit(1);
    }
    void After(int step) override {
        if (step == at_ && trouble_ == Trouble::CrashAfter) _exit(1);
    }

    int at_;
    Trouble trouble_;
};

/// Something happens between two steps.
class WatchedDisk : public SteppedDisk {
public:
    /// Gets the number of steps that are done.
    explicit WatchedDisk(std::function<void(int)> between) : between_(std::move(between)) {}

private:
    void Before(int /*step*/) override {}
    void After(int step) override { between_(step); }

    std::function<void(int)> between_;
};

/// A process that does its work whenever it is asked to, and tells what came of it.
class OtherProcess {
public:
    explicit OtherProcess(const std::function<std::string()>& work) {
        int questions[2];
        int answers[2];
        if (pipe(questions) != 0 || pipe(answers) != 0) throw std::runtime_error("no pipes");
        child_ = fork();
        if (child_ == 0) {
            close(questions[1]);
            close(answers[0]);
            char question = 0;
            while (read(questions[0], &question, 1) == 1) {
                std::string text = work();
                text.resize(kAnswerBytes, '\0');
                if (write(answers[1], text.data(), text.size()) < 0) break;
            }
            _exit(0);
        }
        close(questions[0]);
        close(answers[1]);
        ask_ = questions[1];
        answer_ = answers[0];
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;
    ~OtherProcess() {
        close(ask_);
        close(answer_);
        waitpid(child_, nullptr, 0);
    }

    std::string Work() const {
        std::string text(kAnswerBytes, '\0');
        if (write(ask_, "?", 1) != 1) return "gone";
        if (read(answer_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) return "gone";
        return text.c_str();
    }

private:
    static constexpr std::size_t kAnswerBytes = 1000;  // a pipe takes them at once
    pid_t child_ = 0;
    int ask_ = -1;
    int answer_ = -1;
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
    /// The last message of a compaction in the folder.
    std::string MessageOfCompacting(const std::string& path) const {
        test::RecordingUserInterface ui;
        CompactSelectedDatabase(ui, path, database_.Node().parentKey);
        return ui.messages.empty() ? "" : ui.messages.back().text;
    }
    std::string LastMessage() const { return ui_.messages.empty() ? "" : ui_.messages.back().text; }
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

TEST_P(CompactionFaults, ASecondCompactionMeanwhileIsRefusedAndHarmsNothing) {
    const OtherProcess other([this] { return MessageOfCompacting(database_.Path()); });
    int asked = 0;
    WatchedDisk disk([&](int done) {
        SCOPED_TRACE(done);
        if (done >= SteppedDisk::kRename) return;
        ++asked;
        const bool deleted = done >= SteppedDisk::kDeleteOfDatabase;
        EXPECT_THAT(other.Work(),
                    HasSubstr(deleted ? "Could not find file: " : "; file already in use. (3045,"));
    });
    EXPECT_TRUE(Compact(disk)) << LastMessage();
    EXPECT_EQ(asked, SteppedDisk::kDeleteOfDatabase);
    EXPECT_FALSE(fs::exists(Temporary()));
    ExpectWhole(database_.HostFile());
    EXPECT_THAT(other.Work(), StartsWith("Compacted Database from "));
    ExpectWhole(database_.HostFile());
}

TEST_P(CompactionFaults, ACompactionOfAnotherDatabaseInTheFolderLeavesTheTemporaryFileAlone) {
    const fs::path second = database_.HostFile().parent_path() / "Second.mdb";
    fs::copy_file(database_.HostFile(), second);
    const OtherProcess other([&] { return MessageOfCompacting(database_.Node().parentKey + "Second.mdb"); });
    int asked = 0;
    WatchedDisk disk([&](int done) {
        SCOPED_TRACE(done);
        if (done < SteppedDisk::kCountOfCopy || done >= SteppedDisk::kRename) return;
        ++asked;
        EXPECT_THAT(other.Work(), HasSubstr("; file already in use. (3045,"));
    });
    EXPECT_TRUE(Compact(disk)) << LastMessage();
    EXPECT_EQ(asked, 2);
    ExpectWhole(database_.HostFile());
    ExpectWhole(second);
    EXPECT_THAT(other.Work(), StartsWith("Compacted Database from "));
    ExpectWhole(second);
}

TEST_P(CompactionFaults, NobodyCanWriteIntoTheFileThatGoes) {
    const OtherProcess writer([this]() -> std::string {
        try {
            dao::Database frontend = dao::DBEngine().OpenDatabase(database_.Path());
            frontend.Execute("INSERT INTO Games (Name) VALUES (\"Late\")");
            return "written";
        } catch (const RuntimeError& error) {
            return std::to_string(error.number);
        }
    });
    WatchedDisk disk([&](int done) {
        SCOPED_TRACE(done);
        if (done >= SteppedDisk::kRename) return;
        EXPECT_EQ(writer.Work(), done < SteppedDisk::kDeleteOfDatabase ? "3045" : "3024");
    });
    EXPECT_TRUE(Compact(disk)) << LastMessage();
    ExpectWhole(database_.HostFile());
    EXPECT_EQ(writer.Work(), "written");
    EXPECT_EQ(database_.One("SELECT COUNT(*) FROM Games"), std::to_string(kGames + 1));
}

TEST_P(CompactionFaults, ADatabaseThatTheFrontendOpensMeanwhileIsLeftAlone) {
    // It knows nothing of our locks and has one of its own in the .ldb, none in the database.
    int frontend = -1;
    WatchedDisk disk([&](int done) {
        if (done != SteppedDisk::kCountOfCopy) return;
        frontend = open(database_.HostFile().replace_extension(".ldb").c_str(), O_RDWR | O_CREAT, 0666);
        struct flock fifthUser {};
        fifthUser.l_type = F_WRLCK;
        fifthUser.l_start = 0x10000005;
        fifthUser.l_len = 1;
        EXPECT_EQ(fcntl(frontend, F_OFD_SETLK, &fifthUser), 0);
    });
    EXPECT_FALSE(Compact(disk));
    EXPECT_EQ(disk.StepsDone(), SteppedDisk::kCountOfCopy);
    const bool jet4 = GetParam() == jet::JetVersion::Jet4;
    EXPECT_THAT(LastMessage(), HasSubstr(jet4 ? " (3704," : " (3356,"));
    EXPECT_EQ(test::ReadFile(database_.HostFile()), bytes_);
    close(frontend);
    CompactionDisk sound;
    EXPECT_TRUE(Compact(sound)) << LastMessage();
}

TEST_P(CompactionFaults, WhatAProgramWithoutLocksWritesMeanwhileIsNotThrownAway) {
    const std::string late = [this] {
        std::string bytes = bytes_;
        const auto memo = bytes.rfind("xxx");
        if (memo != std::string::npos) bytes[memo] = 'y';
        return bytes;
    }();
    WatchedDisk disk([&](int done) {
        if (done == SteppedDisk::kCountOfCopy) test::WriteFile(database_.HostFile(), late);
    });
    EXPECT_FALSE(Compact(disk));
    EXPECT_THAT(LastMessage(),
                testing::AllOf(HasSubstr("Unable to compact database"), HasSubstr(" (3197,0)")));
    EXPECT_TRUE(test::ReadFile(database_.HostFile()) == late);
    CompactionDisk sound;
    EXPECT_TRUE(Compact(sound));
    EXPECT_FALSE(fs::exists(Temporary()));
}

TEST_P(CompactionFaults, OnlyTheCopyThatWasMadeTakesTheDatabasesPlace) {
    const fs::path foreign = database_.HostFile().parent_path() / "foreign";
    const std::function<void()> kMishaps[] = {
        [&] { fs::remove(Temporary()); },
        [&] {
            test::WriteFile(foreign, bytes_);
            fs::rename(foreign, Temporary());
        },
        [&] { test::WriteFile(Temporary(), bytes_ + bytes_); },
    };
    for (const auto& mishap : kMishaps) {
        WatchedDisk disk([&](int done) {
            if (done == SteppedDisk::kCountOfCopy) mishap();
        });
        EXPECT_FALSE(Compact(disk));
        EXPECT_EQ(disk.StepsDone(), SteppedDisk::kCountOfCopy);
        EXPECT_THAT(LastMessage(), HasSubstr(" (3197,0)"));
        EXPECT_TRUE(test::ReadFile(database_.HostFile()) == bytes_);
    }
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
            fs::permissions(folder_, fs::perms(0555));
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
                  const std::string end = "\r\n\r\nPermission denied (70," + std::to_string(EACCES) + ")";
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
