#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include "gui/ModalDriver.h"
#include "shell/InputDialog.h"
#include "shell/frmInputBox.h"

namespace marrowkit {
namespace {

using test::Child;

class InputBox : public ::testing::Test {
protected:
    void SetUp() override {
        InputAllowEmpty = false;
        InputMaxLength = 64;
        InputTitle = "Create New Vellora";
        InputPrompt = "Enter the new Vellora name:";
        InputOkCaption = "&OK";
        InputCancelCaption = "&Cancel";
        InputInvalidChars = R"(\/:*?"<>|)";
        InputDefault.clear();
        InputResult = "left over";
        InputAccepted = true;
    }

    void Run(const std::function<void(QDialog&)>& use) {
        test::ModalDriver driver;
        driver.UseDialog(QStringLiteral("frmInputBox"), use);
        frmInputBox(nullptr).exec();
    }
};

TEST_F(InputBox, ShowsWhatItsCallerSetAndClearsTheResults) {
    Run([](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Create New Vellora"));
        EXPECT_EQ(Child<QLabel>(dialog, "lblPrompt").text(), QStringLiteral("Enter the new Vellora name:"));
        EXPECT_EQ(Child<QPushButton>(dialog, "cmdOK").text(), QStringLiteral("&OK"));
        EXPECT_EQ(Child<QPushButton>(dialog, "cmdCancel").text(), QStringLiteral("&Cancel"));
        EXPECT_EQ(InputResult, "");
        EXPECT_FALSE(InputAccepted);
        dialog.reject();
    });
}

TEST_F(InputBox, OkNeedsATextUnlessEmptyIsAllowed) {
    Run([](QDialog& dialog) {
        auto& ok = Child<QPushButton>(dialog, "cmdOK");
        auto& text = Child<QLineEdit>(dialog, "txtInput");
        EXPECT_FALSE(ok.isEnabled());
        QTest::keyClicks(&text, QStringLiteral("A"));
        EXPECT_TRUE(ok.isEnabled());
        text.clear();
        EXPECT_FALSE(ok.isEnabled());
        dialog.reject();
    });
    InputAllowEmpty = true;
    Run([](QDialog& dialog) {
        auto& ok = Child<QPushButton>(dialog, "cmdOK");
        EXPECT_TRUE(ok.isEnabled());
        auto& text = Child<QLineEdit>(dialog, "txtInput");
        QTest::keyClicks(&text, QStringLiteral("A"));
        text.clear();
        EXPECT_TRUE(ok.isEnabled());
        ok.click();
    });
    EXPECT_TRUE(InputAccepted);
    EXPECT_EQ(InputResult, "");
}

TEST_F(InputBox, SwallowsTypedInvalidCharacters) {
    Run([](QDialog& dialog) {
        auto& text = Child<QLineEdit>(dialog, "txtInput");
        QTest::keyClicks(&text, QStringLiteral("A/B:C*?\"<>|\\D"));
        EXPECT_EQ(text.text(), QStringLiteral("ABCD"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    EXPECT_EQ(InputResult, "ABCD");
}

TEST_F(InputBox, WithoutAnInvalidSetEveryTextIsAccepted) {
    InputInvalidChars.clear();
    Run([](QDialog& dialog) {
        QTest::keyClicks(&Child<QLineEdit>(dialog, "txtInput"), QStringLiteral("A/B*"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    EXPECT_EQ(InputResult, "A/B*");
}

TEST_F(InputBox, TheFieldSelectsItsTextWheneverItGetsTheFocus) {
    InputDefault = "Arcade";
    Run([](QDialog& dialog) {
        auto& text = Child<QLineEdit>(dialog, "txtInput");
        text.deselect();
        Child<QPushButton>(dialog, "cmdCancel").setFocus();
        text.setFocus();
        QCoreApplication::processEvents();
        EXPECT_EQ(text.selectedText(), QStringLiteral("Arcade"));
        dialog.reject();
    });
}

TEST_F(InputBox, TheInvalidSetIgnoresCase) {
    InputInvalidChars = "x";
    Run([](QDialog& dialog) {
        auto& text = Child<QLineEdit>(dialog, "txtInput");
        QTest::keyClicks(&text, QStringLiteral("aXxb"));
        EXPECT_EQ(text.text(), QStringLiteral("ab"));
        dialog.reject();
    });
}

TEST_F(InputBox, PastedInvalidCharactersAreCaughtAtOk) {
    test::ModalDriver driver;
    driver.UseDialog(QStringLiteral("frmInputBox"), [](QDialog& dialog) {
        auto& text = Child<QLineEdit>(dialog, "txtInput");
        QApplication::clipboard()->setText(QStringLiteral("A/B"));
        text.paste();
        EXPECT_EQ(text.text(), QStringLiteral("A/B"));
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    driver.AnswerBox(QMessageBox::Ok);
    driver.UseDialog(QStringLiteral("frmInputBox"), [](QDialog& dialog) {
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_FALSE(InputAccepted);
        const auto& text = Child<QLineEdit>(dialog, "txtInput");
        EXPECT_EQ(text.text(), QStringLiteral("A/B"));
        EXPECT_EQ(dialog.focusWidget(), &text);
        dialog.reject();
    });
    frmInputBox(nullptr).exec();
    ASSERT_EQ(driver.Boxes().size(), 1U);
    EXPECT_EQ(driver.Boxes()[0].title, QStringLiteral("Marrowkit"));
    EXPECT_EQ(driver.Boxes()[0].text, QStringLiteral("You have entered one or more invalid characters!"));
    EXPECT_EQ(driver.Boxes()[0].icon, QMessageBox::Warning);
    EXPECT_FALSE(InputAccepted);
    EXPECT_EQ(InputResult, "");
}

TEST_F(InputBox, ClosingItLeavesItNotAccepted) {
    Run([](QDialog& dialog) {
        QTest::keyClicks(&Child<QLineEdit>(dialog, "txtInput"), QStringLiteral("Arcade"));
        dialog.close();
    });
    EXPECT_FALSE(InputAccepted);
    EXPECT_EQ(InputResult, "");
}

TEST_F(InputBox, TakesSixtyFourCharactersAndNotOneMore) {
    Run([](QDialog& dialog) {
        auto& text = Child<QLineEdit>(dialog, "txtInput");
        QTest::keyClicks(&text, QString(65, QLatin1Char('n')));
        EXPECT_EQ(text.text().size(), 64);
        Child<QPushButton>(dialog, "cmdOK").click();
    });
    EXPECT_EQ(InputResult, std::string(64, 'n'));
}

TEST_F(InputBox, ItsDefaultIsSelectedAndTypingReplacesIt) {
    InputDefault = "Arcade";
    Run([](QDialog& dialog) {
        auto& text = Child<QLineEdit>(dialog, "txtInput");
        EXPECT_EQ(text.text(), QStringLiteral("Arcade"));
        EXPECT_TRUE(Child<QPushButton>(dialog, "cmdOK").isEnabled());
        EXPECT_EQ(text.selectedText(), QStringLiteral("Arcade"));
        QTest::keyClicks(&text, QStringLiteral("Home"));
        QTest::keyClick(&text, Qt::Key_Return);
    });
    EXPECT_TRUE(InputAccepted);
    EXPECT_EQ(InputResult, "Home");
}

TEST_F(InputBox, EscCancelsIt) {
    InputDefault = "Arcade";
    Run([](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    EXPECT_FALSE(InputAccepted);
    EXPECT_EQ(InputResult, "");
}

}  // namespace
}  // namespace marrowkit
