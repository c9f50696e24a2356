#pragma once

#include <cstdint>
#include <string>

namespace marrowkit {

// Parameters and results of frmInputBox: set before the dialog is shown, read after it has closed.

/// True: OK is always enabled. False: only while the text is not empty.
inline bool InputAllowEmpty = false;
/// Result: the dialog was closed with OK. Cleared when it opens.
inline bool InputAccepted = false;
/// Most characters that the text may have.
inline std::int32_t InputMaxLength = 0;
inline std::string InputCancelCaption;
inline std::string InputTitle;
/// Characters that may not be entered, in any case of letters; empty for no filter.
inline std::string InputInvalidChars;
inline std::string InputOkCaption;
inline std::string InputPrompt;
/// Result: the text entered. Cleared when the dialog opens.
inline std::string InputResult;
inline std::string InputDefault;

}  // namespace marrowkit
