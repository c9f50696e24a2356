#pragma once

namespace marrowkit::cli {

/// Whether standard error is a terminal on which a line can be drawn over.
bool IsStandardErrorDrawable();
/// Width of that terminal; a line that is wider cannot be drawn over. 80 when it does not tell.
int TerminalColumns();

}  // namespace marrowkit::cli
