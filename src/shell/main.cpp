#include <QApplication>
#include <QFileDialog>
#include <QStringList>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "forms/FatalError.h"
#include "forms/QtText.h"
#include "global/modGlobal.h"
#include "platform/files/FileSystem.h"
#include "platform/installation/BuildVersion.h"
#include "platform/installation/LibraryChoice.h"
#include "platform/process/StandardStreams.h"
#include "platform/process/StopSignals.h"
#include "shell/EndOnSignals.h"
#include "shell/frmMain.h"

namespace marrowkit {
namespace {

/// The last net: an error that no handler of ours has seen.
class Application : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override {
        bool handled = false;
        RunHandler([&] { handled = QApplication::notify(receiver, event); });
        return handled;
    }
};

constexpr const char* kUsage =
    "Usage: marrowkit [-expert] [-nomsgbox] [--choose-library]\n"
    "\n"
    "Looks after the databases of the Vellora frontend. Opens the library that MARROWKIT_LIBRARY in the\n"
    "environment names, else (an installed program) the one that was chosen last, else the program's own "
    "folder.\n"
    "\n"
    "  -expert           No reminder at the start, no warning before a database is opened by double-click\n"
    "  -nomsgbox         No reminder at the start\n"
    "  --choose-library  Asks for the library's folder and remembers it (an installed program only)\n"
    "  --help            Prints this\n"
    "  --version         Prints the version\n"
    "\n"
    "marrowkit-cli does the same work without windows.\n";

bool Has(int argc, char** argv, std::string_view argument) {
    for (int i = 1; i < argc; ++i) {
        if (argv[i] == argument) return true;
    }
    return false;
}

/// What is told without a window, and so without a display.
bool AnsweredInText(int argc, char** argv) {
    if (Has(argc, argv, "--help") || Has(argc, argv, "-h")) {
        std::cout << kUsage;
    } else if (Has(argc, argv, "--version")) {
        std::cout << BuildVersionText() << '\n';
    } else {
        return false;
    }
    return true;
}

/// Asks an installed program's user where the library is: at the first start, when the folder is gone, or
/// when told to. False when the answer was none.
bool ChooseLibrary(bool again) {
    const char* named = std::getenv("MARROWKIT_LIBRARY");
    if (!IsInstalled() || (named != nullptr && *named != '\0')) return true;
    const std::string last = RememberedLibrary();
    if (!again && IsFolder(last)) return true;
    const QString chosen = QFileDialog::getExistingDirectory(
        nullptr, QStringLiteral("Choose the folder of the Vellora frontend"), ToQt(last));
    if (chosen.isEmpty()) return false;
    RememberLibrary(FromQt(chosen));
    return true;
}

/// In force while the application object is made: what is fatal then is a display that cannot be reached.
void ExplainMissingDisplay(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
    if (type != QtFatalMsg) return;
    std::cerr << "Marrowkit needs a display and cannot use one here.\n"
              << FromQt(text) << "\n\n"
              << "marrowkit-cli does the same work without windows.\n";
    std::_Exit(1);
}

int Run(int argc, char** argv) {
    if (AnsweredInText(argc, argv)) return 0;
    const QtMessageHandler before = qInstallMessageHandler(ExplainMissingDisplay);
    Application application(argc, argv);
    qInstallMessageHandler(before);
    QApplication::setApplicationName(QStringLiteral("Marrowkit"));
    QApplication::setDesktopFileName(QStringLiteral("marrowkit"));
    int exitCode = 0;
    RunHandler([&] {
        if (!ChooseLibrary(Has(argc, argv, "--choose-library"))) return;
        modGlobal::Start();
        const std::string commandLine = FromQt(QApplication::arguments().mid(1).join(QLatin1Char(' ')));
        frmMain window(commandLine);
        const EndOnSignals ending(window);
        window.Start();
        exitCode = QApplication::exec();
    });
    return exitCode;
}

}  // namespace
}  // namespace marrowkit

int main(int argc, char** argv) {
    marrowkit::OccupyStandardStreams();
    const int exitCode = marrowkit::Run(argc, argv);
    const int signal = marrowkit::StopSignals::Received();
    if (signal != 0) marrowkit::StopSignals::EndBy(signal);
    return exitCode;
}
