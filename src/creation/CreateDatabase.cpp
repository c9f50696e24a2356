#include "creation/CreateDatabase.h"

#include <algorithm>

#include "creation/TemplateResources.h"
#include "global/modGlobal.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FileTools.h"
#include "platform/files/TextFiles.h"

namespace marrowkit {

namespace {

constexpr const char* kTitle = "Marrow-Kit";
constexpr const char* kFolderExists = "There is already a Vellora folder with that name!";
constexpr const char* kNoTemplateDatabase =
    "Could not find Empty.mdb in the Vellora installation folder.\r\n"
    "\r\n"
    "You can download another Empty.mdb file from the Vellora web site.";
constexpr const char* kSoundsText =
    "Place your own Classic Game WAV files here.  See the Vellora documentation for more details.";
constexpr const char* kSplashText =
    "Place your own splash screen(s) here.  See the Vellora documentation for more details.";

std::string TemplateDatabasePath() {
    return modGlobal::LibraryRoot + "Empty.mdb";
}

/// Tells the person when Empty.mdb is missing.
bool HasTemplateDatabase(UserInterface& ui) {
    if (FileTools().FileExists(TemplateDatabasePath(), 0, kTitle)) return true;
    ui.ShowMessage(kNoTemplateDatabase, MessageIcon::Information, kTitle);
    return false;
}

void MakeFolders(const std::string& folder) {
    MakeFolder(folder);
    for (const char* side : {"\\Gfx", "\\Scripts", "\\Sounds", "\\Splash"}) MakeFolder(folder + side);
}

/// The hourglass, for as long as this lives.
class Hourglass {
public:
    explicit Hourglass(UserInterface& ui) : ui_(ui) {
        ui_.SetHourglass(true);
        ui_.LetEventsRun();
    }
    Hourglass(const Hourglass&) = delete;
    Hourglass& operator=(const Hourglass&) = delete;
    ~Hourglass() { ui_.SetHourglass(false); }

private:
    UserInterface& ui_;
};

void BuildNewDatabase(const std::string& folder, const std::string& name) {
    MakeFolders(folder);
    FileCopy(TemplateDatabasePath(), folder + "\\" + name + ".mdb");
    WriteTextFile(folder + "\\Credits.txt", NewDatabaseCredits(Today()));
    WriteTextFile(folder + "\\Text.ini", LoadTemplateResource(kTextIniTemplate));
    WriteTextFile(folder + "\\Gfx\\gfx.txt", LoadTemplateResource(kGfxTxtTemplate));
    WriteTextFile(folder + "\\help.htm", LoadTemplateResource(kHelpHtmTemplate));
    WriteTextFile(folder + "\\Credits.ini", LoadTemplateResource(kCreditsIniTemplate));
    WriteTextFile(folder + "\\Sounds\\sounds.txt", kSoundsText);
    WriteTextFile(folder + "\\Splash\\Splash.txt", kSplashText);
}

/// A datafile's line may hold line feeds, and so may the extensions in it; the line of an INI file may not.
std::string InOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
    return text;
}

// An imported database has neither help.htm nor Credits.ini: its author is the datafile's.
void BuildImportDatabase(const ImportDatabaseRequest& request, const std::string& databasePath) {
    const std::string& folder = request.folderPath;
    MakeFolders(folder);
    FileCopy(TemplateDatabasePath(), databasePath);
    WriteTextFile(folder + "\\Credits.txt",
                  ImportedDatabaseCredits(Today(), request.datafileName, request.credits));
    WriteTextFile(folder + "\\Text.ini", LoadTemplateResource(kTextIniTemplate));
    WriteTextFile(folder + "\\Gfx\\gfx.txt", LoadTemplateResource(kGfxTxtTemplate));
    WriteTextFile(folder + "\\Sounds\\sounds.txt", kSoundsText);
    WriteTextFile(folder + "\\Splash\\Splash.txt", kSplashText);
    if (request.romPath.empty() || !request.scanForRoms) return;
    FileTools().WriteIniValue("Games", "1", request.romPath, folder + "\\Paths.ini");
    FileTools().WriteIniValue("File Types", "SupportTypes", InOneLine(request.extensionList),
                              folder + "\\Emulators.ini");
}

}  // namespace

Creation CreateNewDatabase(UserInterface& ui, const DatabaseNameAsker& askForName) {
    const std::optional<std::string> name = askForName();
    if (!name) return {CreationResult::Cancelled, "", ""};
    const std::string folder = modGlobal::LibraryRoot + *name;
    if (FileTools().FolderExists(folder)) {
        ui.ShowMessage(kFolderExists, MessageIcon::Information, kTitle);
        return {CreationResult::Refused, "", ""};
    }
    if (!HasTemplateDatabase(ui)) return {CreationResult::Refused, "", ""};
    const Hourglass hourglass(ui);
    try {
        BuildNewDatabase(folder, *name);
    } catch (const RuntimeError& error) {
        return {CreationResult::Incomplete, "", ErrorText(error)};
    }
    ui.RefreshLibraryTree();
    return {CreationResult::Created, folder + "\\", ""};
}

void CreateImportDatabase(UserInterface& ui, const ImportDatabaseRequest& request, std::string& databasePath,
                          std::string& errorText) {
    databasePath = request.folderPath + "\\" + request.databaseName + ".mdb";
    errorText.clear();
    if (!HasTemplateDatabase(ui)) {
        errorText = kNoTemplateDatabase;
        return;
    }
    const Hourglass hourglass(ui);
    try {
        BuildImportDatabase(request, databasePath);
    } catch (const RuntimeError& error) {
        errorText = ErrorText(error);
    }
}

}  // namespace marrowkit
