#pragma once

#include <string>
#include <string_view>

namespace marrowkit {

enum class MessageIcon { None, Information, Exclamation, Question, Error };
enum class MessageButtons { Ok, YesNo, YesNoCancel };
enum class MessageAnswer { Ok, Yes, No, Cancel };

/// The application's default title, for messages that name none.
inline constexpr std::string_view kApplicationTitle = "Marrowkit";

/// How operations talk to the person in front: the window program, the command line and the tests each have
/// their own.
class UserInterface {
public:
    virtual ~UserInterface() = default;

    /// A modal message. Text lines are separated by CR LF. The default button is No when `noIsDefault`, else
    /// the first one.
    virtual MessageAnswer ShowMessage(const std::string& text, MessageIcon icon, const std::string& title,
                                      MessageButtons buttons = MessageButtons::Ok,
                                      bool noIsDefault = false) = 0;

    /// First panel of the status bar.
    virtual std::string StatusText() const = 0;
    virtual void SetStatusText(const std::string& text) = 0;

    /// frmWait shown with a message and the library tree disabled; and the end of that.
    virtual void BeginBusy(const std::string& waitMessage) = 0;
    virtual void EndBusy() = 0;

    virtual void SetHourglass(bool on) = 0;
    /// Lets pending window events run. Cheap enough to be called after every unit of work.
    virtual void LetEventsRun() = 0;

    /// Rebuilds the library tree from the disk.
    virtual void RefreshLibraryTree() = 0;
};

}  // namespace marrowkit
