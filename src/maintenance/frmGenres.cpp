#include "maintenance/frmGenres.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>
#include <array>

#include "forms/QtText.h"
#include "forms/Twips.h"

namespace marrowkit {
namespace {

struct WizardOption {
    const char* caption;
    const char* description;
};

constexpr std::array<WizardOption, 5> kOptions{{
    {"Add Sub Genres", "Lets you add Sub Genres to a single Parent Genre."},
    {"Add Parent Genres", "Lets you add Parent Genres to the list of Genres."},
    {"Remove Sub Genres",
     "Removes Sub Genres from the Genres list and lets you move affected Games to a new Genre."},
    {"Remove Parent Genres",
     "Removes Parent Genres from the Genres list and lets you move affected Games to a new Genre."},
    {"Clear Genres",
     "Clears the entire Genre and Parent Genre lists from the database.  All games will point back to "
     "[uncategorized]."},
}};

QLabel* Prompt(const char* text) {
    auto* label = new QLabel(ToQt(text));
    label->setObjectName(QStringLiteral("lblPrompt"));
    label->setWordWrap(true);
    return label;
}

/// A button's name inside a sentence stands in a bold label of its own.
QLabel* ButtonName(const char* text) {
    QLabel* label = Prompt(text);
    label->setWordWrap(false);
    QFont font = label->font();
    font.setBold(true);
    label->setFont(font);
    return label;
}

QLayout* Sentence(const char* before, const char* buttonName, const char* after = nullptr) {
    auto* line = new QHBoxLayout;
    QLabel* first = Prompt(before);
    first->setWordWrap(false);
    line->addWidget(first);
    line->addWidget(ButtonName(buttonName));
    if (after != nullptr) {
        QLabel* last = Prompt(after);
        last->setWordWrap(false);
        line->addWidget(last);
    }
    line->addStretch();
    return line;
}

/// A page panel with its one frame; the frame's layout is handed out to be filled.
QWidget* Page(int index, const char* frameTitle, const char* frameName, QVBoxLayout*& content) {
    auto* page = new QWidget;
    page->setObjectName(QStringLiteral("picPage_%1").arg(index));
    auto* outer = new QVBoxLayout(page);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* frame = new QGroupBox(ToQt(frameTitle));
    frame->setObjectName(ToQt(frameName));
    outer->addWidget(frame);
    content = new QVBoxLayout(frame);
    return page;
}

}  // namespace

frmGenres::frmGenres(QWidget* owner) : QDialog(owner) {
    setObjectName(QStringLiteral("frmGenres"));
    setWindowTitle(QStringLiteral("Genres Wizard"));

    pages_ = new QStackedWidget(this);
    pages_->addWidget(BuildSelectorPage());
    pages_->addWidget(BuildClearDonePage());
    pages_->addWidget(BuildRecategorisePage());
    pages_->addWidget(BuildChooseParentPage());
    pages_->addWidget(BuildNothingToDoPage());
    pages_->addWidget(BuildClearConfirmPage());

    cmdBack = new QPushButton(QStringLiteral("< &Back"), this);
    cmdBack->setObjectName(QStringLiteral("cmdBack"));
    cmdNext = new QPushButton(QStringLiteral("&Next >"), this);
    cmdNext->setObjectName(QStringLiteral("cmdNext"));
    cmdClose = new QPushButton(QStringLiteral("&Close"), this);
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    for (QPushButton* button : {cmdBack, cmdNext}) button->setAutoDefault(false);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdBack);
    buttons->addWidget(cmdNext);
    buttons->addSpacing(12);
    buttons->addWidget(cmdClose);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(pages_, 1);
    layout->addLayout(buttons);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::accept);

    dao::DBEngine engine;
    database_.emplace(engine.OpenDatabase(GenresDatabasePath));
}

frmGenres::~frmGenres() {
    frmGenres::CloseDatabase();
}

void frmGenres::CloseDatabase() noexcept {
    database_.reset();
}

QWidget* frmGenres::BuildSelectorPage() {
    QVBoxLayout* content = nullptr;
    QWidget* page = Page(0, "What do you want to do?", "fraWizardSelect", content);
    auto* grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    grid->setHorizontalSpacing(18);
    for (int i = 0; i < static_cast<int>(kOptions.size()); ++i) {
        const auto& [caption, description] = kOptions[static_cast<std::size_t>(i)];
        auto* option = new QRadioButton(ToQt(caption));
        option->setObjectName(QStringLiteral("optWizSelect_%1").arg(i));
        option->setAccessibleDescription(ToQt(description));
        grid->addWidget(option, i, 0, Qt::AlignTop);
        grid->addWidget(Prompt(description), i, 1);
    }
    content->addLayout(grid);
    content->addStretch();
    return page;
}

QWidget* frmGenres::BuildClearDonePage() {
    QVBoxLayout* content = nullptr;
    QWidget* page = Page(1, "Clear Genres", "fraClearDone", content);
    content->addWidget(Prompt("The Genres list has been cleared!"));
    content->addWidget(Prompt("All Games now point to the [Uncategorized] Genre."));
    content->addStretch();
    content->addLayout(Sentence("Click", "Back", "to return to the Wizard selector screen."));
    content->addLayout(Sentence("Click", "Close", "to return to the Vellora Marrowkit."));
    return page;
}

QWidget* frmGenres::BuildRecategorisePage() {
    QVBoxLayout* content = nullptr;
    QWidget* page = Page(2, "Remove Parent Genres", "fraRP1", content);
    content->addWidget(Prompt(
        "Re-categorise the affected games by picking a new Genre for them. Firstly select the game(s) you "
        "want "
        "to link to a new Genre, then select the Destination Genre, then link them by pressing the Link "
        "button."));
    lvRP1 = new QTreeWidget;
    lvRP1->setObjectName(QStringLiteral("lvRP1"));
    lvRP1->setHeaderLabels({QStringLiteral("Game Name"), QStringLiteral("Current Genre")});
    lvRP1->setRootIsDecorated(false);
    lvRP1->setSelectionMode(QAbstractItemView::ExtendedSelection);
    // Clicking a header must not sort: the column's width is read and nothing changes.
    lvRP1->setSortingEnabled(false);
    connect(lvRP1->header(), &QHeaderView::sectionClicked, this,
            [this](int column) { static_cast<void>(lvRP1->columnWidth(column)); });
    lstRP2 = new QListWidget;
    lstRP2->setObjectName(QStringLiteral("lstRP2"));
    cmdRP1 = new QPushButton(QStringLiteral("&Link"));
    cmdRP1->setObjectName(QStringLiteral("cmdRP1"));
    cmdRP1->setAutoDefault(false);

    auto* grid = new QGridLayout;
    QLabel* games = Prompt("Games to Re-Categorise:");
    games->setBuddy(lvRP1);
    QLabel* destination = Prompt("Destination Genre:");
    destination->setBuddy(lstRP2);
    grid->addWidget(games, 0, 0);
    grid->addWidget(destination, 0, 1);
    grid->addWidget(lvRP1, 1, 0, 2, 1);
    grid->addWidget(lstRP2, 1, 1);
    grid->addWidget(cmdRP1, 2, 1);
    grid->setColumnStretch(0, 3);
    grid->setColumnStretch(1, 2);
    content->addLayout(grid, 1);
    content->addLayout(Sentence("When there are no more games left to link, click", "Next"));
    return page;
}

QWidget* frmGenres::BuildChooseParentPage() {
    QVBoxLayout* content = nullptr;
    QWidget* page = Page(3, "Remove Parent Genres", "fraRP2", content);
    lstRP1 = new QListWidget;
    lstRP1->setObjectName(QStringLiteral("lstRP1"));
    lstRP1->setAccessibleName(QStringLiteral("Parent Genres"));
    content->addWidget(lstRP1, 1);
    content->addLayout(Sentence("Select a Parent Genre to remove, then click", "Next"));
    return page;
}

QWidget* frmGenres::BuildNothingToDoPage() {
    QVBoxLayout* content = nullptr;
    QWidget* page = Page(4, "Remove Parent Genres", "fraRP3", content);
    content->addWidget(Prompt("There are no Parent Genres to remove!"));
    content->addStretch();
    content->addLayout(Sentence("Click", "Back", "to return to the Wizard selector screen."));
    return page;
}

QWidget* frmGenres::BuildClearConfirmPage() {
    QVBoxLayout* content = nullptr;
    QWidget* page = Page(5, "Clear Genres", "fraClearConfirm", content);
    content->addWidget(Prompt("Are you sure you want to clear the entire Genres list?"));
    content->addWidget(Prompt(
        "This will remove all Genres from your database and re-categorise all games to [Uncategorized]."));
    content->addStretch();
    content->addLayout(Sentence("Click", "Clear", "to clear the Genres list."));
    content->addLayout(Sentence("Click", "Back", "to return to the Wizard selector screen."));
    return page;
}

}  // namespace marrowkit
