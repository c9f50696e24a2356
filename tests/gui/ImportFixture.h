#pragma once

#include <QApplication>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QTimer>
#include <functional>
#include <string>
#include <vector>

#include "gui/WindowsFixture.h"
#include "import/ImportSettings.h"

namespace marrowkit::test {

/// A games line of a datafile whose four name columns are all `name`.
inline std::string GamesLine(const std::string& name, const std::string& file, const std::string& crc,
                             const std::string& size) {
    std::string line;
    for (const std::string& field : {name, name, name, name, file, crc, size}) line += "\xAC" + field;
    return line + "\xAC\xAC\xAC\r\n";
}
inline std::string GamesLine(const std::string& name, const std::string& file, const std::string& crc,
                             int size) {
    return GamesLine(name, file, crc, std::to_string(size));
}

class ImportFixture : public Windows {
protected:
    /// A datafile in C:\Data with these games lines.
    void WriteDatafile(const std::string& name, const std::string& lines,
                       const std::string& version = "2.00") {
        WriteFile(folder_ / "drive_c/Data" / name,
                  "[CREDITS]\r\nAuthor=A\r\nVersion=1\r\nComment=C\r\n[DAT]\r\nversion=" + version +
                      "\r\n[GAMES]\r\n" + lines);
    }
    void OpenWithDatafile(const std::string& name) {
        AddTemplate();
        Open();
        GlobalImportSettings().DatafilePath = R"(C:\Data\)" + name;
    }
    /// Answers the file dialog with a file of C:\Data.
    void ChooseFile(const std::string& name) {
        driver_.UseDialog(QStringLiteral("cDialog"), [this, name](QDialog& dialog) {
            auto& files = dynamic_cast<QFileDialog&>(dialog);
            EXPECT_EQ(files.windowTitle(), QStringLiteral("Select the RC-2.0 Datafile..."));
            const QString path = QString::fromStdString((folder_ / "drive_c/Data" / name).string());
            files.selectFile(path);
            files.findChild<QLineEdit*>()->setText(path);
            static_cast<QDialog&>(files).accept();
        });
    }
};

/// Looks at the progress window each time it lets events run with a new stage's text shown.
class StageWatch : public QObject {
public:
    explicit StageWatch(std::function<void(QDialog&, const std::string&)> look = {})
        : look_(std::move(look)) {
        connect(&timer_, &QTimer::timeout, this, [this] { Look(); });
        timer_.start(0);  // fires whenever events are processed
    }
    const std::vector<std::string>& Stages() const { return stages_; }

private:
    void Look() {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr || dialog->objectName() != QStringLiteral("frmProgress")) return;
        const std::string stage = Child<QLabel>(*dialog, "lblPrompt").text().toStdString();
        if (!stages_.empty() && stages_.back() == stage) return;
        stages_.push_back(stage);
        if (look_) look_(*dialog, stage);
    }

    QTimer timer_;
    std::function<void(QDialog&, const std::string&)> look_;
    std::vector<std::string> stages_;
};

}  // namespace marrowkit::test
