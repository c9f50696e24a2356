// The wizard's pages and texts; that it changes nothing is tested with the maintenance operations.
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QStringList>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include "gui/WindowsFixture.h"

namespace marrowkit {
namespace {

using test::Child;

struct WizardPage {
    const char* frame;
    std::vector<const char*> prompts;
};

const std::vector<WizardPage> kPages = {
    {"What do you want to do?",
     {"Lets you add Sub Genres to a single Parent Genre.",
      "Lets you add Parent Genres to the list of Genres.",
      "Removes Sub Genres from the Genres list and lets you move affected Games to a new Genre.",
      "Removes Parent Genres from the Genres list and lets you move affected Games to a new Genre.",
      "Clears the entire Genre and Parent Genre lists from the database.  All games will point back to "
      "[uncategorized]."}},
    {"Clear Genres",
     {"The Genres list has been cleared!", "All Games now point to the [Uncategorized] Genre.", "Click",
      "Back", "to return to the Wizard selector screen.", "Click", "Close",
      "to return to the Vellora Marrowkit."}},
    {"Remove Parent Genres",
     {"Re-categorise the affected games by picking a new Genre for them. Firstly select the game(s) you want "
      "to link to a new Genre, then select the Destination Genre, then link them by pressing the Link "
      "button.",
      "Games to Re-Categorise:", "Destination Genre:", "When there are no more games left to link, click",
      "Next"}},
    {"Remove Parent Genres", {"Select a Parent Genre to remove, then click", "Next"}},
    {"Remove Parent Genres",
     {"There are no Parent Genres to remove!", "Click", "Back", "to return to the Wizard selector screen."}},
    {"Clear Genres",
     {"Are you sure you want to clear the entire Genres list?",
      "This will remove all Genres from your database and re-categorise all games to [Uncategorized].",
      "Click", "Clear", "to clear the Genres list.", "Click", "Back",
      "to return to the Wizard selector screen."}},
};

constexpr const char* kOptions[] = {"Add Sub Genres", "Add Parent Genres", "Remove Sub Genres",
                                    "Remove Parent Genres", "Clear Genres"};

void ExpectPage(QDialog& wizard, int index) {
    const WizardPage& expected = kPages[static_cast<std::size_t>(index)];
    auto& page = Child<QWidget>(wizard, qPrintable(QStringLiteral("picPage_%1").arg(index)));
    const auto frames = page.findChildren<QGroupBox*>();
    ASSERT_EQ(frames.size(), 1) << index;
    EXPECT_EQ(frames[0]->title(), QString::fromLatin1(expected.frame)) << index;
    QStringList prompts;
    for (const QLabel* label : page.findChildren<QLabel*>(QStringLiteral("lblPrompt")))
        prompts << label->text();
    QStringList texts;
    for (const char* text : expected.prompts) texts << QString::fromLatin1(text);
    prompts.sort();
    texts.sort();
    EXPECT_EQ(prompts.join(QLatin1Char('\n')).toStdString(), texts.join(QLatin1Char('\n')).toStdString())
        << index;
}

using GenresWizard = test::Windows;

TEST_F(GenresWizard, HasItsSixPagesWithTheirTexts) {
    AddDatabase("Arcade");
    Open();
    SelectDatabase("Arcade");
    Action("mnuDBGenres").setEnabled(true);
    driver_.UseDialog(QStringLiteral("frmGenres"), [](QDialog& wizard) {
        EXPECT_TRUE(wizard.isModal());
        for (int i = 0; i < static_cast<int>(kPages.size()); ++i) ExpectPage(wizard, i);
        EXPECT_EQ(wizard.findChild<QWidget*>(QStringLiteral("picPage_6")), nullptr);
        for (int i = 0; i < 5; ++i) {
            const auto& option =
                Child<QRadioButton>(wizard, qPrintable(QStringLiteral("optWizSelect_%1").arg(i)));
            EXPECT_EQ(option.text(), QString::fromLatin1(kOptions[i]));
        }
        const auto caption = [&wizard](const char* name) {
            return Child<QPushButton>(wizard, name).text().toStdString();
        };
        EXPECT_EQ(caption("cmdBack"), "< &Back");
        EXPECT_EQ(caption("cmdNext"), "&Next >");
        EXPECT_EQ(caption("cmdClose"), "&Close");
        EXPECT_EQ(caption("cmdRP1"), "&Link");
        const QTreeWidgetItem* columns = Child<QTreeWidget>(wizard, "lvRP1").headerItem();
        EXPECT_EQ(columns->text(0), QStringLiteral("Game Name"));
        EXPECT_EQ(columns->text(1), QStringLiteral("Current Genre"));
        EXPECT_EQ(Child<QListWidget>(wizard, "lstRP1").count(), 0);
        EXPECT_EQ(Child<QListWidget>(wizard, "lstRP2").count(), 0);
        wizard.close();
    });
    Trigger("mnuDBGenres");
    EXPECT_TRUE(driver_.Done());
}

}  // namespace
}  // namespace marrowkit
