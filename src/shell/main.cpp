#include <QApplication>
#include <QStringList>

#include "forms/FatalError.h"
#include "forms/QtText.h"
#include "global/modGlobal.h"
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

int Run(int argc, char** argv) {
    Application application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Marrowkit"));
    QApplication::setDesktopFileName(QStringLiteral("marrowkit"));
    int exitCode = 0;
    RunHandler([&] {
        modGlobal::Start();
        const std::string commandLine = FromQt(QApplication::arguments().mid(1).join(QLatin1Char(' ')));
        frmMain window(commandLine);
        window.Start();
        exitCode = QApplication::exec();
    });
    return exitCode;
}

}  // namespace
}  // namespace marrowkit

int main(int argc, char** argv) {
    return marrowkit::Run(argc, argv);
}
