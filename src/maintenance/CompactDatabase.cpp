#include "maintenance/CompactDatabase.h"

#include <optional>

#include "platform/dao/Dao.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FileTools.h"
#include "platform/files/HostFiles.h"
#include "platform/files/HostPath.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/process/StopRequest.h"
#include "platform/text/Numbers.h"

namespace marrowkit {

namespace {

constexpr const char* kTitle = "Vellora";
constexpr const char* kErrorTitle = "Marrow-Kit";
constexpr const char* kTemporaryName = "vltemp.mdb";
constexpr const char* kBlankLine = "\r\n\r\n";

std::string Kilobytes(std::int64_t bytes) {
    constexpr double kBytesPerKilobyte = 1024;
    return Format0(static_cast<double>(bytes) / kBytesPerKilobyte);
}

/// Somebody wrote to the file between two looks at it, or put another in its place.
bool HasChanged(const std::optional<HostStatus>& before, const std::optional<HostStatus>& now) {
    return before && now &&
           (!before->SameFileAs(*now) || before->size != now->size ||
            before->modifiedNanoseconds != now->modifiedNanoseconds);
}

bool Compact(UserInterface& ui, const std::string& databasePath, const std::string& temporaryPath,
             CompactionDisk& disk) {
    ui.SetHourglass(true);
    ui.LetEventsRun();
    const std::int32_t gamesBefore = disk.CountGames(databasePath);
    const std::int64_t bytesBefore = disk.Length(databasePath);
    disk.Delete(temporaryPath);
    const auto copied = StatusOf(HostPath(databasePath));
    disk.Compact(databasePath, temporaryPath);
    if (disk.CountGames(temporaryPath) != gamesBefore) {
        // The pointer stays an hourglass and the temporary file stays where it is.
        ui.ShowMessage(std::string("Compact Failed") + kBlankLine +
                           "This is one of those crap and annoying error messages that tells you absolutely "
                           "nothing about WHY the operation failed, because the author probably doesn't have "
                           "a clue why it failed!",
                       MessageIcon::Information, kTitle);
        return false;
    }
    // A change that is not in the copy would go with the old file.
    if (HasChanged(copied, StatusOf(HostPath(databasePath)))) jet::RaiseJet(jet::JetError::ChangedByOther);
    disk.Delete(databasePath);
    disk.Rename(temporaryPath, databasePath);
    const std::int64_t bytesAfter = disk.Length(databasePath);
    ui.SetHourglass(false);
    ui.ShowMessage(
        "Compacted Database from " + Kilobytes(bytesBefore) + "Kb to " + Kilobytes(bytesAfter) + "Kb.",
        MessageIcon::Information, kTitle);
    return true;
}

/// A compaction that was told to stop leaves nothing behind. After other errors the file stays: it may help
/// to find out what is wrong with the database.
void RemoveUnfinished(const std::string& databasePath, const std::string& temporaryPath,
                      CompactionDisk& disk) {
    try {
        if (PathExists(databasePath)) disk.Delete(temporaryPath);
    } catch (const RuntimeError&) {
        return;  // the next compaction deletes it
    }
}

}  // namespace

std::int32_t CompactionDisk::CountGames(const std::string& database) {
    dao::Database connection = dao::DBEngine().OpenDatabase(database);
    dao::Recordset games = connection.OpenRecordset("SELECT * FROM Games", dao::RecordsetType::Snapshot);
    if (games.EOF_()) return 0;
    games.MoveLast();
    games.MoveFirst();
    return games.RecordCount();
}

std::int64_t CompactionDisk::Length(const std::string& file) {
    return FileLength(file);
}

void CompactionDisk::Delete(const std::string& file) {
    FileTools().DeletePath(file);
}

void CompactionDisk::Compact(const std::string& from, const std::string& to) {
    dao::DBEngine().CompactDatabase(from, to);
    // The new file takes the old one's place: who may read and write it does not change.
    CopyHostPermissions(HostPath(from), HostPath(to));
}

void CompactionDisk::Rename(const std::string& from, const std::string& to) {
    RenameFile(from, to);
}

bool CompactSelectedDatabase(UserInterface& ui, const std::string& databasePath,
                             const std::string& folderPath) {
    CompactionDisk disk;
    return CompactSelectedDatabase(ui, databasePath, folderPath, disk);
}

bool CompactSelectedDatabase(UserInterface& ui, const std::string& databasePath,
                             const std::string& folderPath, CompactionDisk& disk) {
    if (databasePath.empty()) return false;
    try {
        if (!PathExists(databasePath)) {
            ui.ShowMessage("Could not find file: " + databasePath, MessageIcon::Information, kTitle);
            return false;
        }
        return Compact(ui, databasePath, folderPath + kTemporaryName, disk);
    } catch (const RuntimeError& error) {
        if (IsStopRequested()) RemoveUnfinished(databasePath, folderPath + kTemporaryName, disk);
        ui.ShowMessage("Unable to compact database '" + databasePath + "'." + kBlankLine + error.description +
                           " (" + std::to_string(error.number) + "," + std::to_string(error.platformCode) +
                           ")",
                       MessageIcon::Error, kErrorTitle);
        return false;
    }
}

bool CompactWithBusyDisplay(UserInterface& ui, const SelectedNode& database) {
    const std::string statusBefore = ui.StatusText();
    ui.SetStatusText("Compacting " + statusBefore + "...");
    ui.BeginBusy("Compacting...");
    const bool compacted = CompactSelectedDatabase(ui, database.key, database.parentKey);
    ui.EndBusy();
    ui.SetStatusText(statusBefore);
    return compacted;
}

}  // namespace marrowkit
