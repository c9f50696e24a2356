#pragma once

#include <QApplication>
#include <QDialog>
#include <string>

#include "gui/WindowsFixture.h"
#include "support/BothFormats.h"

namespace marrowkit::test {

/// A maintenance operation from its menu entry to its last message, on a database of either format.
class MaintenanceFixture : public Windows, public ::testing::WithParamInterface<jet::JetVersion> {
protected:
    void OpenWith(const std::string& name, int minor = 5) {
        AddDatabase(name, minor, GetParam());
        Open();
        SelectDatabase(name);
    }
    void AddGame(const std::string& database, const std::string& name) {
        Execute(database, "INSERT INTO Games (Name, PU_Id) VALUES (\"" + name + "\", 37)");
    }
    /// The message box number `i` that was shown, an empty one when there were fewer.
    const SeenBox& Box(std::size_t i) {
        static const SeenBox none;
        return i < driver_.Boxes().size() ? driver_.Boxes()[i] : none;
    }
    /// The last message, which had an OK button and nothing else.
    void ExpectBox(const QString& title, const QString& text, QMessageBox::Icon icon) {
        ASSERT_FALSE(driver_.Boxes().empty());
        const SeenBox& box = driver_.Boxes().back();
        EXPECT_EQ(box.title.toStdString(), title.toStdString());
        EXPECT_EQ(box.text.toStdString(), text.toStdString());
        EXPECT_EQ(box.icon, icon);
        EXPECT_EQ(box.buttons, QMessageBox::Ok);
    }
    void ExpectNothingIsBusy() {
        EXPECT_TRUE(Tree().isEnabled());
        EXPECT_TRUE(Action("mnuFileNew").isEnabled());
        EXPECT_TRUE(Action("mnuFileExit").isEnabled());
        EXPECT_EQ(window_->findChild<QDialog*>(QStringLiteral("frmWait")), nullptr);
    }
    void ExpectTheNormalPointer() { EXPECT_EQ(QApplication::overrideCursor(), nullptr); }
};

}  // namespace marrowkit::test
