#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace marrowkit {

// The file statements of the classic BASIC runtime. Paths are Windows paths, or host paths where a user may
// have typed one (HostPath.h). None of the questions raises; each of the actions raises the runtime's
// numbers.

/// Whether a listing for the path gives a name: a file or folder of that name, or for a last part with
/// wildcards (or none behind a final "\") at least one that fits. False also for everything that fails.
bool PathExists(std::string_view path);
bool IsFile(std::string_view path);
bool IsFolder(std::string_view path);

/// Length in bytes. Raises 53 or 76 when missing, 75 for a folder.
std::int64_t FileLength(std::string_view path);

/// Makes or replaces `to` as a byte copy of `from`; on an error there is no half copy. Raises 53 without a
/// source, 76 without the target's folder, 70 for a copy onto itself or of a file that somebody has locked,
/// 75 for folders, 61 on a full disk.
void FileCopy(std::string_view from, std::string_view to);

/// Raises 75 when something of that name (in any case) exists, 76 without the parent folder.
void MakeFolder(std::string_view path);

/// Raises 53 without a source, 58 when the new name exists (another spelling of the old one is fine), 74
/// across file systems.
void RenameFile(std::string_view from, std::string_view to);

/// Deletes a file, or a folder with everything in it, read-only entries too. Links are deleted, never
/// followed. Nothing there is no error. Raises 70 (75 for a folder) when something cannot be deleted; what
/// is gone by then stays gone. Somebody's lock on one of the files, and a folder around that may not be
/// changed, are seen before anything is gone. A drive's root and an empty path are refused with 75.
void DeletePath(std::string_view path);

}  // namespace marrowkit
