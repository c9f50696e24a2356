#include "shell/EndOnSignals.h"

#include <QApplication>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include "platform/dao/Dao.h"
#include "platform/process/StopRequest.h"

namespace marrowkit {

namespace {

/// A dialog may be opened by whatever was on its way when the request came; its event loop is ended, too.
constexpr int kAgainMilliseconds = 50;

}  // namespace

EndOnSignals::EndOnSignals(QWidget& mainWindow) : mainWindow_(mainWindow) {
    // Qt's reaction to a lost display is exit(). The first call, which finds nothing to do, makes what the
    // one at the end uses outlive it.
    dao::DBEngine::SettleOpenDatabases();
    static_cast<void>(std::atexit(&dao::DBEngine::SettleOpenDatabases));
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    reading_ = ends[0];
    writing_ = ends[1];
    notifier_ = new QSocketNotifier(reading_, QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, [this] { End(); });
    connect(&again_, &QTimer::timeout, this, [] { QApplication::exit(); });
    StopSignals::WakeBy(writing_);
}

EndOnSignals::~EndOnSignals() {
    StopSignals::WakeBy(-1);
    delete notifier_;
    if (reading_ >= 0) close(reading_);
    if (writing_ >= 0) close(writing_);
}

void EndOnSignals::End() {
    notifier_->setEnabled(false);
    if (QApplication::activeModalWidget() == nullptr) mainWindow_.close();
    QApplication::exit();
    again_.start(kAgainMilliseconds);
}

}  // namespace marrowkit
