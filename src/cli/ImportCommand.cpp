#include <algorithm>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "cli/DatabaseArgument.h"
#include "cli/ImportReportFile.h"
#include "cli/ProgressUserInterface.h"
#include "cli/TerminalProgress.h"
#include "global/Library.h"
#include "global/modGlobal.h"
#include "import/DatafileChoice.h"
#include "import/DatafileLoader.h"
#include "import/ImportEngine.h"
#include "import/ImportOptions.h"
#include "import/ImportReport.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FileTools.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "platform/text/CodePage1252.h"
#include "platform/text/Text.h"

namespace marrowkit::cli {

namespace {

struct Arguments {
    std::string datafile;
    // Given and empty is not the same as not given: an empty variable of a script is refused.
    std::optional<std::string> name;
    std::optional<std::string> into;
    std::optional<std::string> romFolder;
    std::optional<std::string> reportFile;
    ImportOptions options;
    bool tosec = false;
    bool noTosec = false;
    bool dryRun = false;
};

/// The Windows path of a path that was typed; as it was typed where there is none (a share, an empty text).
std::string WindowsPathIfAny(const std::string& typed) {
    try {
        return WindowsPath(typed);
    } catch (const RuntimeError&) {
        return typed;
    }
}

/// The same for a database; empty where there is none.
std::string DatabaseIfAny(const std::string& argument) {
    try {
        return DatabaseOf(argument);
    } catch (const RuntimeError&) {
        return {};
    }
}

/// One import by the arguments of the command line.
class ImportCommand {
public:
    ImportCommand(Session& session, const Arguments& arguments)
        : session_(session), arguments_(arguments), options_(arguments.options) {}

    int Run() {
        if (const std::string objection = Prepare(); !objection.empty()) return session_.Fail(objection);
        if (!AcceptDatafile(session_.Ui(), WindowsPath(arguments_.datafile), settings_)) return kFailed;
        const auto refusal = StoreImportOptions(options_, modGlobal::LibraryRoot, settings_);
        if (refusal) return session_.Fail(refusal->text);
        WarnOfUnwritableRomPath();
        if (WantsReport()) report_ = ExplainDatafile(settings_);

        const bool done = ImportAndReport();
        if (settings_.ImportCancelled) return session_.Fail("The import was cancelled.");
        if (settings_.ImportSucceeded) RemindOfScanAndFix(session_.Ui());
        if (!done) {
            if (noGames_ && !PrintsReport()) HintAtMissingGames();
            return kFailed;
        }
        if (!PrintsReport()) WriteResult();
        return reportWritten_ ? kDone : kFailed;
    }

private:
    /// Which database and which names; what the dialog would not let pass.
    std::string Prepare() {
        const std::string datafile = WindowsPathIfAny(arguments_.datafile);
        if (!FileTools().FileExists(datafile, 0, "")) return "Could not find file: " + datafile;
        if (std::string objection = ObjectionToReport(); !objection.empty()) return objection;
        settings_.ImportIntoExisting = arguments_.into.has_value();
        if (settings_.ImportIntoExisting) {
            settings_.ExistingDatabasePath = DatabaseIfAny(*arguments_.into);
            if (!FileTools().FileExists(settings_.ExistingDatabasePath, 0, "")) {
                return "Huh? This database doesn't exist!";
            }
            const std::string file = FileNameOf(settings_.ExistingDatabasePath);
            settings_.ExistingDatabaseName = Left(file, std::max(0, Len(file) - 4));
            options_.name = settings_.ExistingDatabaseName;
        } else {
            options_.name =
                arguments_.name ? *arguments_.name : MakeDefaultDatabaseName(FileNameOf(datafile));
            // The dialog's own refusal of an empty name comes later.
            if (std::string objection = ObjectionToDatabaseName(options_.name);
                !options_.name.empty() && !objection.empty()) {
                return objection;
            }
        }
        options_.tosecNames = arguments_.tosec || (!arguments_.noTosec && NamesTosec(FileNameOf(datafile)));
        options_.scanForRoms = arguments_.romFolder.has_value();
        // A path with a drive letter is checked as it was typed.
        if (options_.scanForRoms) {
            const std::string& typed = *arguments_.romFolder;
            options_.romPath = HasDriveLetter(typed) ? typed : WindowsPathIfAny(typed);
        }
        return {};
    }

    /// What can be known before the work: a long import should not end in a report that goes nowhere.
    std::string ObjectionToReport() const {
        if (!arguments_.reportFile) return {};
        if (arguments_.reportFile->empty()) return "The report needs the name of a file.";
        const std::string report = WindowsPathIfAny(*arguments_.reportFile);
        if (IsFolder(report)) return "The report cannot have the name of a folder: " + report;
        if (!IsFolder(FolderOf(report))) return "There is no folder for the report: " + report;
        return {};
    }

    /// Only a new database gets a Paths.ini.
    void WarnOfUnwritableRomPath() {
        if (!settings_.ScanForRoms || settings_.ImportIntoExisting || FitsCp1252(settings_.RomPath)) return;
        session_.Ui().ShowMessage(
            "Paths.ini cannot hold every letter of the ROM folder's name, and the frontend will not find "
            "it: " +
                settings_.RomPath,
            MessageIcon::Exclamation, std::string(kApplicationTitle));
    }

    bool WantsReport() const { return arguments_.reportFile || arguments_.dryRun; }
    bool PrintsReport() const { return arguments_.dryRun && !arguments_.reportFile; }

    /// The report comes out whatever the import's end: it is wanted most when that was an error.
    bool ImportAndReport() {
        try {
            const bool done = Import();
            if (!settings_.ImportCancelled) WriteReport();
            return done;
        } catch (const RuntimeError&) {
            WriteReport();
            throw;
        }
    }

    /// The error alone does not say which of many thousand games it was.
    void NameFailedEntry(const ImportTables& tables) {
        if (!tables.FailedEntry) return;
        const DatafileEntry& entry = tables.Entries[*tables.FailedEntry];
        session_.Fail("The game that could not be added, number " + std::to_string(*tables.FailedEntry + 1) +
                      " of " + std::to_string(tables.EntryCount()) + ": " + entry.Name +
                      " (file name: " + entry.FileName + ")");
    }

    /// That there were no games has been said; the datafile may tell why.
    void HintAtMissingGames() {
        if (!WantsReport()) report_ = ExplainDatafile(settings_);
        std::size_t skippedLines = 0;
        for (const ReportRow& row : report_) {
            if (row.kind == "skipped line") ++skippedLines;
            if (row.kind == "hint" && row.detail != kNoGamesText) session_.Fail(row.detail);
        }
        if (skippedLines == 0) return;
        session_.Fail(std::to_string(skippedLines) +
                      " lines begin like games lines and are none; --dry-run lists them.");
    }

    void WriteReport() {
        if (PrintsReport()) {
            WriteImportReport(report_, *session_.Rows(ImportReportColumns()));
        } else if (WantsReport()) {
            WriteReportFile();
        }
    }

    void WriteReportFile() {
        try {
            WriteImportReport(report_, *arguments_.reportFile);
        } catch (const RuntimeError& error) {
            session_.Fail("The report could not be written: " + error.description);
            reportWritten_ = false;
        }
    }

    bool Import() {
        TerminalProgress progress(session_.Err(), TerminalProgress::StyleFor(session_.Err(), session_.quiet));
        ProgressUserInterface ui(session_.Ui(), progress);
        ImportHooks hooks;
        hooks.scanned = [this](const ImportTables& tables) { TakeResults(tables); };
        hooks.writing = [this](const ImportTables&) { return !arguments_.dryRun; };
        ImportTables tables;
        const bool done = RunImport(settings_, tables, progress, ui, hooks);
        noGames_ = tables.EntryCount() == 0;
        settings_.ImportCancelled = progress.Cancelled();
        written_ = tables.GamesWritten;
        stages_ = progress.Stages();
        NameFailedEntry(tables);
        return done;
    }

    void TakeResults(const ImportTables& tables) {
        games_ = tables.EntryCount();
        files_ = tables.FileCount();
        for (const DatafileEntry& entry : tables.Entries) found_ += entry.Matched ? 1 : 0;
        if (!WantsReport() || !settings_.ScanForRoms) return;
        std::vector<ReportRow> matches = ExplainMatches(settings_, tables);
        report_.insert(report_.end(), std::make_move_iterator(matches.begin()),
                       std::make_move_iterator(matches.end()));
    }

    void WriteResult() {
        const std::string path = settings_.ImportIntoExisting ? settings_.ExistingDatabasePath
                                                              : DatabasePathOf(settings_.DatabaseName);
        if (session_.json) return WriteJsonResult(path);
        const auto rows = session_.Rows({"Database", "Entries", "Written", "Found", "Files"});
        rows->Write({path, games_, written_, found_, files_});
        rows->Finish();
    }

    void WriteJsonResult(const std::string& path) {
        nlohmann::ordered_json result = {{"Database", path},
                                         {"Entries", games_},
                                         {"Written", written_},
                                         {"Found", found_},
                                         {"Files", files_}};
        result["Stages"] = nlohmann::ordered_json::array();
        for (const TerminalProgress::Stage& stage : stages_) {
            result["Stages"].push_back({{"Stage", stage.prompt}, {"Seconds", stage.seconds}});
        }
        session_.Out() << result.dump(2) << '\n';
    }

    Session& session_;
    const Arguments& arguments_;
    ImportOptions options_;
    ImportSettings settings_;
    std::vector<ReportRow> report_;
    bool reportWritten_ = true;
    bool noGames_ = false;
    std::int32_t games_ = 0;
    std::int32_t found_ = 0;
    std::int32_t written_ = 0;
    std::int32_t files_ = 0;
    std::vector<TerminalProgress::Stage> stages_;
};

/// An option with a text, which may be empty.
CLI::Option* AddText(CLI::App& command, const std::string& name, std::optional<std::string>& text,
                     const std::string& help) {
    return command.add_option_function<std::string>(
        name, [&text](const std::string& value) { text = value; }, help);
}

template <std::size_t count>
std::vector<std::int32_t> ColumnsOf(const std::array<ColumnItem, count>& items) {
    std::vector<std::int32_t> columns;
    columns.reserve(count);
    for (const ColumnItem& item : items) columns.push_back(item.column);
    return columns;
}

void AddOptions(CLI::App& command, Arguments& arguments) {
    ImportOptions& options = arguments.options;
    command.add_option("DATAFILE", arguments.datafile, "A RomCenter 2.00 datafile (.dat)")->required();
    CLI::Option* name = AddText(command, "--name", arguments.name,
                                "Name of the new database (default: from the datafile's name)");
    AddText(command, "--into", arguments.into, "Adds the games to this database instead")
        ->option_text("DB")
        ->excludes(name);
    command
        .add_option("--name-column", options.nameColumn,
                    "Datafile column of the game's name: 1 the parent's name, 2 the parent's description, 3 "
                    "the game's name, 4 the game's description, 5 the ROM's name, 8 the name in RomOf")
        ->type_name("N")
        ->check(CLI::IsMember(ColumnsOf(kNameColumns)))
        ->capture_default_str();
    command
        .add_option("--file-column", options.fileColumn,
                    "Datafile column of the game's file name: 1 the parent's name, 3 the game's name, 5 the "
                    "ROM's name, 7 the size")
        ->type_name("N")
        ->check(CLI::IsMember(ColumnsOf(kFileColumns)))
        ->capture_default_str();
    command.add_flag("--skip-duplicates", options.skipDuplicates, "Only the first game of each name");
    CLI::Option* tosec = command.add_flag(
        "--tosec", arguments.tosec, "File names follow TOSEC (default: when the datafile's name says so)");
    command.add_flag("--no-tosec", arguments.noTosec, "They do not")->excludes(tosec);
    command.add_flag("--add-zip", options.addZipExtension, "Appends .zip to the file names");
    CLI::Option* roms =
        AddText(command, "--roms", arguments.romFolder, "Looks for the games' files in this folder")
            ->option_text("DIR");
    command
        .add_flag("--match-extensions", options.matchExtensionsOnly,
                  "Looks only at files with an extension that the datafile has")
        ->needs(roms);
    AddText(command, "--report", arguments.reportFile,
            "Writes which lines make no games, and what the ROM scan came to for each game and file (.json: "
            "JSON, else CSV)")
        ->option_text("FILE");
    command.add_flag("--dry-run", arguments.dryRun, "Creates and writes nothing, and prints that report");
}

}  // namespace

void AddImportCommand(CLI::App& app, Session& session) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand("import", "Makes a database of a RomCenter 2.00 datafile");
    AddOptions(*command, *arguments);
    command->footer(
        "Ctrl-C cancels, until the database is being written. The report is written also\n"
        "when the import fails: it names the lines that cannot be read. Written counts the\n"
        "games added, Found those with a file, Files what the ROM folder holds; --json\n"
        "tells how long each stage took as well.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli import 'Atari ST - TOSEC.dat'\n"
        "  marrowkit-cli import mame.dat --name Arcade --name-column 4 --roms ~/roms\n"
        "  marrowkit-cli import more.dat --into Arcade --dry-run");
    command->callback([&session, arguments] {
        session.run = Session::Changing(
            [arguments](Session& current) { return ImportCommand(current, *arguments).Run(); });
    });
}

}  // namespace marrowkit::cli
