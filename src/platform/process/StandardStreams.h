#pragma once

namespace marrowkit {

/// Makes sure that the descriptors of standard input, output and error are taken. A program may be started
/// with them closed; the next file it opens would then be its standard error, and messages would go into a
/// database. What was closed stays useless: reading and writing it fails.
void OccupyStandardStreams();

/// While it lives, what the program prints is shown as UTF-8 and arrives byte for byte. A Windows console is
/// told so, and told back at the end, because it outlives the program; the C library leaves line ends alone
/// from then on. Everywhere else it is so anyhow. Make it before anything is printed.
class Utf8Console {
public:
    Utf8Console();
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;
    ~Utf8Console();  // NOLINT(performance-trivially-destructible): on Windows it has something to do

private:
    [[maybe_unused]] unsigned outputBefore_ = 0;  ///< code pages; 0 without a console
    [[maybe_unused]] unsigned inputBefore_ = 0;
};

}  // namespace marrowkit
