#pragma once

#include <QSocketNotifier>
#include <QTimer>
#include <QWidget>

#include "platform/process/StopSignals.h"

namespace marrowkit {

/// Ends the program when a signal asks for it: an idle main window closes as by its own command, an operation
/// that changes a database is stopped and undone first, and dialogs that wait for an answer end without one.
/// Ends it as well when the display goes away: open databases are brought into order before the process
/// exits.
class EndOnSignals : public QObject {
public:
    explicit EndOnSignals(QWidget& mainWindow);
    EndOnSignals(const EndOnSignals&) = delete;
    EndOnSignals& operator=(const EndOnSignals&) = delete;
    ~EndOnSignals() override;

private:
    void End();

    StopSignals signals_;
    QWidget& mainWindow_;
    int reading_ = -1;
    int writing_ = -1;
    QSocketNotifier* notifier_ = nullptr;
    QTimer again_;
};

}  // namespace marrowkit
