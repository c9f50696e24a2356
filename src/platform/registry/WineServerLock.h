#pragma once

#include <string>

namespace marrowkit {

/// Keeps a Wine prefix's wineserver from starting, and finds out whether one runs: both by the lock on the
/// first byte of the file `lock` in the server's folder, which a wineserver holds as long as it lives. One
/// that starts meanwhile is refused and tried again by its client for some seconds, so keep this for moments
/// only.
class WineServerLock {
public:
    /// Raises 70, naming the process, when the byte is taken. Without a server folder no server can be
    /// running and nothing is locked.
    WineServerLock(const std::string& prefixHostPath, const std::string& serverFolder);
    WineServerLock(const WineServerLock&) = delete;
    WineServerLock& operator=(const WineServerLock&) = delete;
    ~WineServerLock();

private:
    int file_ = -1;
};

/// "/tmp/.wine-<user id>"
std::string DefaultWineServerFolder();
/// The folder of one prefix's server in it: "server-<device>-<inode>" in hexadecimal digits.
std::string WineServerFolderOf(const std::string& prefixHostPath, const std::string& serverFolder);

}  // namespace marrowkit
