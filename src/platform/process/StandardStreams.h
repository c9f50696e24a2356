#pragma once

namespace marrowkit {

/// Makes sure that the descriptors of standard input, output and error are taken. A program may be started
/// with them closed; the next file it opens would then be its standard error, and messages would go into a
/// database. What was closed stays useless: reading and writing it fails.
void OccupyStandardStreams();

}  // namespace marrowkit
