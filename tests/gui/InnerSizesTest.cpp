#include <QTest>

#include <gtest/gtest.h>

#include "forms/Twips.h"
#include "gui/MaintenanceFixture.h"
#include "maintenance/frmGetID.h"
#include "maintenance/frmRemoveRec.h"
#include "shell/InputDialog.h"
#include "shell/frmInputBox.h"
#include "shell/frmWait.h"

namespace marrowkit {
namespace {

class InnerSizes : public test::Windows {
protected:
    static void ExpectInnerTwips(QWidget& window, double width, double height) {
        window.show();
        QCoreApplication::processEvents();
        EXPECT_EQ(window.size(), QSize(TwipsToPixels(width, &window), TwipsToPixels(height, &window)))
            << window.objectName().toStdString();
        window.hide();
    }
};

TEST_F(InnerSizes, AreThoseOfTheDesignInTwips) {
    InputTitle = "Create New Vellora";
    InputPrompt = "Enter the new Vellora name:";
    InputOkCaption = "&OK";
    InputCancelCaption = "&Cancel";
    InputMaxLength = 64;
    frmInputBox input(nullptr);
    ExpectInnerTwips(input, 4575, 1335);

    frmWait wait(nullptr);
    wait.SetMessage("Removing NULL Data...");
    ExpectInnerTwips(wait, 3015, 495);

    AddDatabase("Arcade");
    Open();
    CurrentDatabasePath = DatabaseKey("Arcade");
    frmRemoveRec remove(nullptr, window_->Interface());
    ExpectInnerTwips(remove, 3615, 4575);
    ReplacementQuery = "SELECT PU_Id AS ID, Publisher AS Name FROM Publishers";
    frmGetID choose(nullptr);
    ExpectInnerTwips(choose, 2895, 4230);
}

}  // namespace
}  // namespace marrowkit
