#include "import/ImportEngine.h"

#include "creation/CreateDatabase.h"
#include "import/DatafileLoader.h"
#include "import/FileTypes.h"
#include "import/GameWriter.h"
#include "import/RomMatch.h"
#include "import/RomWalk.h"
#include "import/TosecName.h"
#include "platform/files/Paths.h"

namespace marrowkit {

namespace {

/// One run: the stages in their order, each saying whether the import goes on.
class ImportRun {
public:
    ImportRun(ImportSettings& settings, ImportTables& tables, ImportProgress& progress, UserInterface& ui,
              const ImportHooks& hooks)
        : settings_(settings), tables_(tables), progress_(progress), ui_(ui), hooks_(hooks) {}

    bool Run() {
        tables_.RomExtensionList.clear();
        progress_.SetStatus("0");
        if (!Load()) return false;
        progress_.SetStatus("");
        if (settings_.ScanForRoms && !Scan()) return false;
        if (progress_.Cancelled()) return false;
        if (hooks_.scanned) hooks_.scanned(tables_);
        std::vector<ScannedFile>().swap(tables_.Files);
        if (settings_.TosecNames && !ParseNames()) return false;
        progress_.SetCancelEnabled(false);
        if (hooks_.writing && !hooks_.writing(tables_)) return true;
        return Write();
    }

private:
    void ShowStage(const char* text) {
        progress_.SetPrompt(text);
        progress_.LetEventsRun();
    }

    bool Fail(const std::string& text) {
        ui_.ShowMessage(text, MessageIcon::Information, "Marrowkit");
        return false;
    }

    /// Shows a stage's error text. A cancelled import ends without one.
    bool GoesOn(const std::string& errorText) {
        if (progress_.Cancelled()) return false;
        if (errorText.empty()) return true;
        return Fail(errorText);
    }

    bool Load() {
        if (settings_.SkipDuplicates) {
            ShowStage("Loading Datafile into memory (skipping duplicates)...");
            return GoesOn(LoadDatafileSkippingDuplicates(settings_, tables_, progress_));
        }
        ShowStage("Loading Datafile into memory...");
        return GoesOn(LoadDatafile(settings_, tables_, progress_));
    }

    bool Scan() {
        if (settings_.MatchExtensionsOnly) {
            ShowStage("Getting unique FileTypes list...");
            if (progress_.Cancelled()) return false;
            const bool anyType = BuildFileTypes(tables_, progress_);
            if (progress_.Cancelled()) return false;
            // Nothing to look for: the import goes on without a scan.
            if (!anyType) return true;
        }
        ShowStage("Preparing File List...");
        if (progress_.Cancelled()) return false;
        if (!GoesOn(PrepareFileList(settings_, tables_, progress_))) return false;
        if (tables_.FileCount() == 0) return true;
        return GoesOn(MatchByCrcAndSize(settings_, tables_, progress_));
    }

    bool ParseNames() {
        if (progress_.Cancelled()) return false;
        ShowStage("Obtaining DB info from TOSEC filenames...");
        progress_.SetStatus("");
        return GoesOn(ParseTosecEntries(tables_, progress_));
    }

    ImportDatabaseRequest Request() const {
        ImportDatabaseRequest request;
        request.folderPath = settings_.NewFolderPath;
        request.databaseName = settings_.DatabaseName;
        request.datafileName = FileNameOf(settings_.DatafilePath);
        request.credits = {settings_.DatafileAuthor, settings_.DatafileVersion, settings_.DatafileComment};
        request.romPath = settings_.RomPath;
        request.scanForRoms = settings_.ScanForRoms;
        request.extensionList = tables_.RomExtensionList;
        return request;
    }

    bool Write() {
        std::string databasePath = settings_.ExistingDatabasePath;
        if (!settings_.ImportIntoExisting) {
            ShowStage("Creating New Database...");
            std::string errorText;
            CreateImportDatabase(ui_, Request(), databasePath, errorText);
            if (!errorText.empty()) return Fail(errorText);
        }
        // Before any game is written: a database that was left half filled is one to be shown and repaired.
        settings_.ImportSucceeded = true;
        settings_.NewDatabaseKey = settings_.NewFolderPathSlash;
        ShowStage("Adding games to database...");
        const std::string errorText = settings_.TosecNames
                                          ? WriteTosecGames(databasePath, settings_, tables_, progress_)
                                          : WriteGames(databasePath, settings_, tables_, progress_);
        return errorText.empty() || Fail(errorText);
    }

    ImportSettings& settings_;
    ImportTables& tables_;
    ImportProgress& progress_;
    UserInterface& ui_;
    const ImportHooks& hooks_;
};

}  // namespace

bool RunImport(ImportSettings& settings, ImportTables& tables, ImportProgress& progress, UserInterface& ui,
               const ImportHooks& hooks) {
    return ImportRun(settings, tables, progress, ui, hooks).Run();
}

}  // namespace marrowkit
