// What an import through the windows leaves on the disk is what marrowkit-cli leaves for the same options:
// every row of every table, every byte of every side file.
#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <map>

#include <gtest/gtest.h>

#include "creation/TemplateDatabase.h"
#include "global/modGlobal.h"
#include "gui/ImportFixture.h"
#include "import/frmRomCenter2.h"
#include "platform/dao/Dao.h"
#include "platform/files/HostPath.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/engine/Database.h"
#include "platform/jet/format/ValueText.h"
#include "support/BothFormats.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::Child;

/// The choices of one import; those of the dialog when it opens.
struct Choices {
    int nameColumn = 3;
    int fileColumn = 5;
    bool skipDuplicates = false;
    bool tosec = false;
    bool addZip = false;
    bool scan = false;
    bool matchExtensions = false;

    std::string ToText() const {
        std::string text = "name " + std::to_string(nameColumn) + ", file " + std::to_string(fileColumn);
        if (skipDuplicates) text += ", skip duplicates";
        if (tosec) text += ", TOSEC";
        if (addZip) text += ", add zip";
        if (scan) text += matchExtensions ? ", scan matching extensions" : ", scan";
        return text;
    }
};

std::vector<Choices> EveryChoiceOfColumns() {
    std::vector<Choices> all;
    for (const int name : {1, 2, 3, 4, 5, 8}) {
        for (const int file : {1, 3, 5, 7})
            all.push_back({.nameColumn = name, .fileColumn = file, .tosec = true});
    }
    return all;
}

std::vector<Choices> EveryChoiceOfTicks() {
    std::vector<Choices> all;
    for (int ticks = 0; ticks < 32; ++ticks) {
        Choices choices;
        choices.skipDuplicates = (ticks & 1) != 0;
        choices.tosec = (ticks & 2) != 0;
        choices.addZip = (ticks & 4) != 0;
        choices.scan = (ticks & 8) != 0;
        choices.matchExtensions = (ticks & 16) != 0;
        if (choices.matchExtensions && !choices.scan) continue;
        all.push_back(choices);
    }
    return all;
}

std::string Line(std::initializer_list<const char*> columns) {
    std::string line;
    for (const char* column : columns) line += std::string("\xAC") + column;
    return line + "\xAC\r\n";
}

/// Parents, duplicates, names that TOSEC reads, sizes in either column, files that are found and files
/// that are not.
std::string Games() {
    return Line({"Pp", "Parent P", "Alpha", "Alpha (1987)(Brightwater)", "Alpha (1987)(Brightwater)(de).bin",
                 "cbf43926", "9", "rom of", ""}) +
           Line({"Pq", "Parent Q", "Alpha", "Alpha (1988)(-)", "Alpha (1988)(-)[cr Static].tap", "cbf43926",
                 "9", "", ""}) +
           Line({"Pq", "Parent Q", "alpha", "alpha", "ALPHA v2 (19xx)(Copperleaf)(PAL)[t +3].D64", "1", "5",
                 "x.y", ""}) +
           Line({"", "", "", "", "nothing", "2", "N", "", "77"}) +
           Line({"Caf\xE9", "Caf\xE9", "Caf\xE9", "Caf\xE9",
                 "Caf\xE9 (1990)(Eastgate)(en-fr)(PD)[f save].zip.zip", "352441C2", "3", "Caf\xE9", ""}) +
           "skipped\r\n" + Line({"ten", "ten", "ten", "ten", "ten", "1", "1", "1"});
}

class ImportLikeCli : public test::ImportFixture, public ::testing::WithParamInterface<jet::JetVersion> {
protected:
    ImportLikeCli() {
        UseDrives(DriveMap());  // as the command line does outside of a Wine prefix
        test::WriteFile(Datafile(),
                        "[CREDITS]\r\nAuthor=A\r\nVersion=1\r\nComment=C\r\n[DAT]\r\nversion=2.00\r\n"
                        "[GAMES]\r\n" +
                            Games());
        test::WriteFile(Roms() / "Sub/a.bin", "123456789");
        test::WriteFile(Roms() / "b.tap", "123456789");
        test::WriteFile(Roms() / "c.zip", "abc");
        for (const fs::path& library : {GuiLibrary(), CliLibrary()}) {
            fs::create_directories(library);
            CreateTemplateDatabase(WindowsPath((library / "Empty.mdb").string()), GetParam(),
                                   SchemaVersion{2, 5});
        }
        modGlobal::LibraryRoot = WindowsPath(GuiLibrary().string()) + "\\";
    }

    fs::path Datafile() const { return folder_ / "Nimbus.dat"; }
    fs::path Roms() const { return folder_ / "Roms"; }
    fs::path GuiLibrary() const { return folder_ / "gui"; }
    fs::path CliLibrary() const { return folder_ / "cli"; }

    void MakeExisting() {
        for (const fs::path& library : {GuiLibrary(), CliLibrary()}) {
            fs::remove_all(library / "Arcade");
            fs::create_directories(library / "Arcade/Scripts");
            const std::string path = WindowsPath((library / "Arcade/Arcade.mdb").string());
            fs::copy_file(library / "Empty.mdb", library / "Arcade/Arcade.mdb");
            dao::Database database = dao::DBEngine().OpenDatabase(path);
            for (const char* sql : {"INSERT INTO Publishers (Publisher) VALUES (\"BRIGHTWATER\")",
                                    "INSERT INTO Crackers (Cracker) VALUES (\"Hexagon\")",
                                    "INSERT INTO Games (Name, PU_Id) VALUES (\"Old\", 37)"})
                database.Execute(sql);
            database.Close();
        }
    }

    void ByWindows(const Choices& choices, bool existing) {
        ImportSettings& settings = GlobalImportSettings();
        settings = {};
        settings.DatafilePath = WindowsPath(Datafile().string());
        settings.DatafileAuthor = "A";
        settings.DatafileVersion = "1";
        settings.DatafileComment = "C";
        settings.ImportIntoExisting = existing;
        if (existing) {
            settings.ExistingDatabaseName = "Arcade";
            settings.ExistingDatabasePath = modGlobal::LibraryRoot + "Arcade\\Arcade.mdb";
        }
        frmRomCenter2 options(window_.get(), window_->Interface());
        SelectColumn(Child<QListWidget>(options, "lstName"), choices.nameColumn);
        SelectColumn(Child<QListWidget>(options, "lstFile"), choices.fileColumn);
        const std::pair<const char*, bool> ticks[] = {{"chkIgnoreDups", choices.skipDuplicates},
                                                      {"chkTosec", choices.tosec},
                                                      {"chkAddZip", choices.addZip},
                                                      {"chkScan", choices.scan},
                                                      {"chkMatch", choices.matchExtensions}};
        for (const auto& [box, ticked] : ticks) {
            auto& check = Child<QCheckBox>(options, box);
            if (check.isChecked() != ticked) check.click();
        }
        if (choices.scan)
            Child<QLineEdit>(options, "txtRomPath")
                .setText(QString::fromStdString(WindowsPath(Roms().string())));
        Child<QPushButton>(options, "cmdOK").click();
        EXPECT_TRUE(settings.ImportSucceeded);
        EXPECT_FALSE(settings.ImportCancelled);
    }

    static void SelectColumn(QListWidget& list, int column) {
        for (int row = 0; row < list.count(); ++row) {
            if (list.item(row)->data(Qt::UserRole).toInt() == column) return list.setCurrentRow(row);
        }
        ADD_FAILURE() << "no column " << column;
    }

    void ByCommandLine(const Choices& choices, bool existing) {
        QStringList arguments{QStringLiteral("--quiet"), QStringLiteral("--library"),
                              QString::fromStdString(CliLibrary().string()), QStringLiteral("import"),
                              QString::fromStdString(Datafile().string())};
        arguments << (existing ? QStringLiteral("--into") : QStringLiteral("--name"))
                  << (existing ? QStringLiteral("Arcade") : QStringLiteral("Nimbus"));
        arguments << QStringLiteral("--name-column") << QString::number(choices.nameColumn);
        arguments << QStringLiteral("--file-column") << QString::number(choices.fileColumn);
        arguments << (choices.tosec ? QStringLiteral("--tosec") : QStringLiteral("--no-tosec"));
        if (choices.skipDuplicates) arguments << QStringLiteral("--skip-duplicates");
        if (choices.addZip) arguments << QStringLiteral("--add-zip");
        if (choices.scan) arguments << QStringLiteral("--roms") << QString::fromStdString(Roms().string());
        if (choices.matchExtensions) arguments << QStringLiteral("--match-extensions");
        QProcess cli;
        cli.setProcessChannelMode(QProcess::MergedChannels);
        cli.start(QStringLiteral(MARROWKIT_CLI), arguments);
        ASSERT_TRUE(cli.waitForFinished());
        EXPECT_EQ(cli.exitCode(), 0) << cli.readAll().toStdString();
    }

    /// Each row with its table in front.
    static std::vector<std::string> AllRows(const fs::path& file) {
        std::vector<std::string> rows;
        const std::vector<std::string> tables = jet::Database::Open(file.string())->TableNames();
        dao::Database database = dao::DBEngine().OpenDatabase(WindowsPath(file.string()));
        for (const std::string& table : tables) {
            dao::Recordset records =
                database.OpenRecordset("SELECT * FROM [" + table + "]", dao::RecordsetType::Snapshot);
            for (; !records.EOF_(); records.MoveNext()) {
                std::string row = table;
                for (std::size_t i = 0; i < records.FieldCount(); ++i) {
                    const jet::Value value = records.Fields(i).Value();
                    row += '|' + (jet::IsNull(value) ? "NULL" : jet::ValueText(value));
                }
                rows.push_back(std::move(row));
            }
        }
        database.Close();
        return rows;
    }

    static std::map<std::string, std::string> SideFiles(const fs::path& folder) {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file() && entry.path().extension() != ".mdb")
                files[fs::relative(entry.path(), folder).string()] = test::ReadFile(entry.path());
        }
        return files;
    }

    /// Returns how many different databases the choices led to.
    std::size_t ExpectAlike(const std::vector<Choices>& all, bool existing) {
        std::map<std::vector<std::string>, int> outcomes;
        for (const Choices& choices : all) {
            SCOPED_TRACE(choices.ToText());
            const std::string name = existing ? "Arcade" : "Nimbus";
            if (existing) {
                MakeExisting();
            } else {
                for (const fs::path& library : {GuiLibrary(), CliLibrary()}) fs::remove_all(library / name);
            }
            ByWindows(choices, existing);
            ByCommandLine(choices, existing);
            const std::vector<std::string> rows = AllRows(GuiLibrary() / name / (name + ".mdb"));
            EXPECT_EQ(rows, AllRows(CliLibrary() / name / (name + ".mdb")));
            EXPECT_EQ(SideFiles(GuiLibrary() / name), SideFiles(CliLibrary() / name));
            EXPECT_TRUE(jet::Check((GuiLibrary() / name / (name + ".mdb")).string()).empty());
            ++outcomes[rows];
        }
        return outcomes.size();
    }
};

TEST_P(ImportLikeCli, ForEveryChoiceOfColumnsIntoANewDatabase) {
    Open();
    EXPECT_EQ(ExpectAlike(EveryChoiceOfColumns(), false), EveryChoiceOfColumns().size());
}

TEST_P(ImportLikeCli, ForEveryChoiceOfColumnsIntoAnExistingDatabase) {
    Open();
    EXPECT_EQ(ExpectAlike(EveryChoiceOfColumns(), true), EveryChoiceOfColumns().size());
}

TEST_P(ImportLikeCli, ForEveryChoiceOfTicksIntoANewDatabase) {
    Open();
    EXPECT_GT(ExpectAlike(EveryChoiceOfTicks(), false), EveryChoiceOfTicks().size() / 2);
}

TEST_P(ImportLikeCli, ForEveryChoiceOfTicksIntoAnExistingDatabase) {
    Open();
    EXPECT_GT(ExpectAlike(EveryChoiceOfTicks(), true), EveryChoiceOfTicks().size() / 2);
}

MARROWKIT_TEST_BOTH_FORMATS(ImportLikeCli);

}  // namespace
}  // namespace marrowkit
