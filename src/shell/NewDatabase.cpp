#include "shell/NewDatabase.h"

#include "creation/CreateDatabase.h"
#include "shell/InputDialog.h"
#include "shell/frmInputBox.h"

namespace marrowkit {
namespace {

std::optional<std::string> AskForName(QWidget* owner) {
    InputTitle = "Create New Vellora";
    InputPrompt = "Enter the new Vellora name:";
    InputOkCaption = "&OK";
    InputCancelCaption = "&Cancel";
    InputMaxLength = kDatabaseNameCharacters;
    InputInvalidChars = kInvalidNameCharacters;
    InputDefault.clear();
    InputAllowEmpty = false;
    frmInputBox(owner).exec();
    if (!InputAccepted) return std::nullopt;
    return InputResult;
}

}  // namespace

std::optional<std::string> AskAndCreateDatabase(QWidget* owner, UserInterface& ui) {
    const Creation creation = CreateNewDatabase(ui, [owner] { return AskForName(owner); });
    if (creation.result != CreationResult::Created) return std::nullopt;
    return creation.nodeKey;
}

}  // namespace marrowkit
