#include "maintenance/CompactDatabase.h"

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/dao/Dao.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FileTools.h"
#include "platform/files/HostFiles.h"
#include "platform/files/HostPath.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/Storage.h"
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

dao::Database OpenExclusively(const std::string& path) {
    return dao::DBEngine().OpenDatabase(path, dao::Sharing::Exclusive);
}

/// A file at a moment, to be recognised by.
class Sight {
public:
    explicit Sight(const std::string& path) : hostPath_(HostPath(path)), status_(StatusOf(hostPath_)) {}

    /// Raises 3197 when somebody has written to the file since, or put another or none in its place.
    void RaiseWhenChanged() const {
        const auto now = StatusOf(hostPath_);
        const bool same = status_ && now && status_->SameFileAs(*now) && status_->size == now->size &&
                          status_->modifiedNanoseconds == now->modifiedNanoseconds;
        if (!same) jet::RaiseJet(jet::JetError::ChangedByOther);
    }

private:
    std::string hostPath_;
    std::optional<HostStatus> status_;
};

/// Locks a leftover that is going to be deleted: two who found the same one would delete it one after the
/// other, and the second what the first had made in its place by then. Null when there is none, or when it
/// cannot be locked. Raises 3045 when somebody has a lock on it, or has just deleted it.
std::unique_ptr<jet::StorageFile> LockLeftover(const std::string& hostPath) {
    std::unique_ptr<jet::StorageFile> file;
    try {
        file = jet::HostStorage().Open(hostPath, jet::OpenMode::ReadWrite);
    } catch (const RuntimeError&) {
        return nullptr;
    }
    if (!file->TryLock(0, jet::kAllBytes, true) || !file->IsAt(hostPath)) {
        jet::RaiseJet(jet::JetError::FileInUse, {hostPath});
    }
    return file;
}

bool Compact(UserInterface& ui, const std::string& databasePath, const std::string& temporaryPath,
             CompactionDisk& disk) {
    ui.SetHourglass(true);
    ui.LetEventsRun();
    // Nobody of ours can have it from now on: a second compaction, a writer.
    dao::Database database = OpenExclusively(databasePath);
    const std::int32_t gamesBefore = disk.CountGames(databasePath);
    const std::int64_t bytesBefore = disk.Length(databasePath);
    disk.Delete(temporaryPath);
    const Sight original(databasePath);
    disk.Compact(databasePath, temporaryPath);
    // A compaction of another database in this folder would take it for a leftover.
    const dao::Database copyHeld = OpenExclusively(temporaryPath);
    const Sight copy(temporaryPath);
    if (disk.CountGames(temporaryPath) != gamesBefore) {
        // The pointer stays an hourglass and the temporary file stays where it is.
        ui.ShowMessage(std::string("Compact Failed") + kBlankLine +
                           "This is one of those crap and annoying error messages that tells you absolutely "
                           "nothing about WHY the operation failed, because the author probably doesn't have "
                           "a clue why it failed!",
                       MessageIcon::Information, kTitle);
        return false;
    }
    // A change that is not in the copy would go with the old file, and so would what a program that has just
    // come is going to write.
    original.RaiseWhenChanged();
    copy.RaiseWhenChanged();
    database.RaiseWhenInUse();
    // Let go of only when it is gone, or somebody could write to it before. On Windows it goes no earlier,
    // and it goes at all because we have opened it in a way that lets it be deleted.
    disk.DeleteHeld(databasePath);
    database.Close();
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
    if (const auto locked = LockLeftover(HostPath(file))) return CompactionDisk::DeleteHeld(file);
    FileTools().DeletePath(file);
}

void CompactionDisk::DeleteHeld(const std::string& file) {
    RemoveHostTree(HostPath(file), WhenLocked::Remove);
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
