#include "import/frmRomCenter2.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>
#include <algorithm>
#include <span>
#include <string_view>

#include "creation/CreateDatabase.h"
#include "forms/FatalError.h"
#include "forms/Messages.h"
#include "forms/QtText.h"
#include "forms/TextFields.h"
#include "forms/Twips.h"
#include "global/modGlobal.h"
#include "import/ImportOptions.h"
#include "import/ImportSettings.h"
#include "import/frmBrowseFolder.h"
#include "import/frmProgress.h"
#include "platform/files/FileSystem.h"
#include "platform/files/Paths.h"
#include "platform/files/StartProgram.h"

namespace marrowkit {
namespace {

constexpr double kInnerWidthTwips = 8175;
constexpr double kInnerHeightTwips = 3615;
// Narrow enough for all controls in that size.
constexpr int kMarginPixels = 5;
constexpr int kSpacingPixels = 3;

/// A button with a question mark that explains one option.
QToolButton* HelpButton(const char* objectName, std::string_view title, std::string_view text) {
    auto* button = new QToolButton;
    button->setObjectName(ToQt(objectName));
    button->setText(QStringLiteral("?"));
    button->setFocusPolicy(Qt::TabFocus);
    button->setAccessibleName(ToQt("Help: " + std::string(title)));
    button->setToolTip(button->accessibleName());
    QObject::connect(button, &QToolButton::clicked, button,
                     Guarded([button, title = std::string(title), text = std::string(text)] {
                         ShowMessageBox(button->window(), text, MessageIcon::Information, title);
                     }));
    return button;
}

/// A list that shows most of its entries without scrolling.
class ColumnList : public QListWidget {
public:
    ColumnList(const char* objectName, std::span<const ColumnItem> items) {
        setObjectName(ToQt(objectName));
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setTextElideMode(Qt::ElideMiddle);  // the column's number stays to be seen
        for (const ColumnItem& item : items) {
            auto* entry = new QListWidgetItem(ToQt(item.caption), this);
            entry->setData(Qt::UserRole, item.column);
            entry->setToolTip(entry->text());
        }
    }
    QSize minimumSizeHint() const override {
        constexpr int kLeastRows = 4;
        return {sizeHintForColumn(0) + 2 * frameWidth(), sizeHintForRow(0) * kLeastRows + 2 * frameWidth()};
    }
};

/// Makes the window's text a little smaller when its controls have no room in the inner size otherwise. Text
/// that somebody has set much larger stays as it is.
void FitText(QWidget& window, double widthTwips, double heightTwips) {
    constexpr double kLeastPoints = 8;  // what dialogs of that size were made for
    constexpr double kLeastPart = 0.8;
    constexpr double kStepPoints = 0.5;
    const QSize room(TwipsToPixels(widthTwips, &window), TwipsToPixels(heightTwips, &window));
    const QFont own = window.font();
    const double least = std::max(kLeastPoints, own.pointSizeF() * kLeastPart);
    const auto setFont = [&window](const QFont& font) {
        window.setFont(font);
        // Layouts of a window that is not shown yet keep what they calculated.
        for (QWidget* control : window.findChildren<QWidget*>()) control->updateGeometry();
        for (QLayout* layout : window.findChildren<QLayout*>()) layout->invalidate();
    };
    for (QFont font = own; window.layout()->minimumSize().expandedTo(room) != room; setFont(font)) {
        if (font.pointSizeF() <= least) return setFont(own);
        font.setPointSizeF(std::max(least, font.pointSizeF() - kStepPoints));
    }
}

/// A text box that cannot be used shows the dialog's own colour.
void ShowUsable(QLineEdit& field, bool usable) {
    QPalette palette = field.palette();
    const QPalette& normal = field.parentWidget()->palette();
    palette.setColor(QPalette::Base, normal.color(usable ? QPalette::Base : QPalette::Window));
    field.setPalette(palette);
}

std::int32_t SelectedColumn(const QListWidget& list) {
    return list.currentItem()->data(Qt::UserRole).toInt();
}

}  // namespace

frmRomCenter2::frmRomCenter2(QWidget* owner, UserInterface& ui) : QDialog(owner), ui_(ui) {
    setObjectName(QStringLiteral("frmRomCenter2"));
    setWindowTitle(QStringLiteral("RomCenter 2.00 Datafile Import"));

    cmdOK = new QPushButton(QStringLiteral("&Start"));
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("&Cancel"));
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    auto* buttons = new QDialogButtonBox(Qt::Vertical);
    buttons->addButton(cmdOK, QDialogButtonBox::AcceptRole);
    buttons->addButton(cmdCancel, QDialogButtonBox::RejectRole);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMarginPixels, kMarginPixels, kMarginPixels, kMarginPixels);
    layout->setSpacing(kSpacingPixels);
    layout->addWidget(BuildDatafileRow());
    layout->addWidget(BuildOptions(), 1);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(BuildScan(), 1);
    bottom->addWidget(buttons);
    layout->addLayout(bottom);
    Load();
    Connect();
    FitText(*this, kInnerWidthTwips, kInnerHeightTwips);
    SetInnerSize(*this, kInnerWidthTwips, kInnerHeightTwips);
}

QWidget* frmRomCenter2::BuildDatafileRow() {
    auto* row = new QWidget;
    auto* grid = new QGridLayout(row);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(kSpacingPixels);
    lblDataFile = new ElidedLabel;
    lblDataFile->setObjectName(QStringLiteral("lblDataFile"));
    cmdView = new QPushButton(QStringLiteral("&View"));
    cmdView->setObjectName(QStringLiteral("cmdView"));
    cmdView->setAutoDefault(false);
    txtName = new QLineEdit;
    txtName->setObjectName(QStringLiteral("txtName"));
    auto* nameLabel = new QLabel(QStringLiteral("&Vellora Name:"));
    nameLabel->setBuddy(txtName);
    grid->addWidget(new QLabel(QStringLiteral("RomCenter Datafile:")), 0, 0);
    grid->addWidget(lblDataFile, 0, 1);
    grid->addWidget(cmdView, 0, 2);
    grid->addWidget(nameLabel, 1, 0);
    grid->addWidget(txtName, 1, 1, 1, 2);
    grid->setColumnStretch(1, 1);
    return row;
}

QWidget* frmRomCenter2::BuildOptions() {
    fraOptions = new QGroupBox(QStringLiteral("Options"));
    fraOptions->setObjectName(QStringLiteral("fraOptions"));
    auto* columns = new QHBoxLayout(fraOptions);
    columns->setContentsMargins(kMarginPixels, 0, kMarginPixels, 1);
    columns->setSpacing(kMarginPixels);

    lstName = new ColumnList("lstName", kNameColumns);
    lstFile = new ColumnList("lstFile", kFileColumns);
    const auto addList = [&](const QString& caption, QListWidget* list, QToolButton* help) {
        auto* grid = new QGridLayout;
        grid->setSpacing(kSpacingPixels);
        auto* label = new QLabel(caption);
        label->setBuddy(list);
        grid->addWidget(label, 0, 0);
        grid->addWidget(list, 1, 0, 1, 2);  // before its help: Tab goes by this order
        grid->addWidget(help, 0, 1);
        grid->setColumnStretch(0, 1);
        columns->addLayout(grid, 1);
    };
    addList(
        QStringLiteral("Game &Name Field:"), lstName,
        HelpButton("cmdHelpGameNameField", "Game Name Field",
                   "This is the column in the datafile that you want to use as the Game Name in Vellora."));
    addList(QStringLiteral("Game &Filename Field:"), lstFile,
            HelpButton(
                "cmdHelpGameFilenameField", "Game Filename Field",
                "This is the column in the datafile that you want to use as the Game Filename in Vellora."));

    auto* checks = new QGridLayout;
    checks->setSpacing(kSpacingPixels);
    const auto addCheck = [&](const char* name, const QString& caption, QToolButton* help) {
        auto* box = new QCheckBox(caption);
        box->setObjectName(ToQt(name));
        const int row = checks->rowCount();
        checks->addWidget(box, row, 0);
        checks->addWidget(help, row, 1);
        return box;
    };
    chkIgnoreDups = addCheck(
        "chkIgnoreDups", QStringLiteral("Ignore &duplicate Game Names"),
        HelpButton(
            "cmdHelpIgnoreDups", "Ignore Duplicate Game Names",
            "Some datafiles have the same game name listed many times (e.g. multiple rom-file games).\r\n\r\n"
            "If the column you chose as the Game Name Field has duplicate entries, select this option to\r\n"
            "ignore them and only import games with unique names."));
    chkTosec = addCheck(
        "chkTosec", QStringLiteral("&TOSEC Filenames (TNC v1)"),
        HelpButton("cmdHelpTosec", "TOSEC Filenames (TNC v1)",
                   "If the column you chose as the Game Filename Field in the datafile uses TOSEC (TNC "
                   "v1) compliant filenames, select this option."));
    chkAddZip = addCheck(
        "chkAddZip", QStringLiteral("&Add ZIP extension to filename"),
        HelpButton(
            "cmdHelpAddZip", "Add ZIP extension to filenames",
            "This field should be used for MAME type setups where the Game Name Field you have chosen does "
            "not "
            "represent the actual rom-filename, but the name of the game.  Vellora will add .zip to the game "
            "name so that your zipped roms can be found and/or linked to the database."));
    checks->setRowStretch(checks->rowCount(), 1);
    columns->addLayout(checks);
    return fraOptions;
}

QWidget* frmRomCenter2::BuildScan() {
    fraScan = new QFrame;
    fraScan->setFrameStyle(QFrame::StyledPanel | QFrame::Plain);
    fraScan->setObjectName(QStringLiteral("fraScan"));
    fraScan->setAccessibleName(QStringLiteral("Rom scan options"));
    auto* rows = new QVBoxLayout(fraScan);
    rows->setContentsMargins(kMarginPixels, kSpacingPixels, kMarginPixels, kSpacingPixels);
    rows->setSpacing(kSpacingPixels);
    chkScan = new QCheckBox(QStringLiteral("Scan for &Roms"));
    chkScan->setObjectName(QStringLiteral("chkScan"));
    txtRomPath = new QLineEdit;
    txtRomPath->setObjectName(QStringLiteral("txtRomPath"));
    lblRomPath = new QLabel(QStringLiteral("Rom &Path:"));
    lblRomPath->setObjectName(QStringLiteral("lblRomPath"));
    lblRomPath->setBuddy(txtRomPath);
    cmdRomPath = new QToolButton;
    cmdRomPath->setObjectName(QStringLiteral("cmdRomPath"));
    cmdRomPath->setText(QStringLiteral("..."));
    cmdRomPath->setFocusPolicy(Qt::TabFocus);
    cmdRomPath->setAccessibleName(QStringLiteral("Choose the Rom Path"));
    chkMatch = new QCheckBox(QStringLiteral("Only search &matching filename extensions"));
    chkMatch->setObjectName(QStringLiteral("chkMatch"));
    cmdHelpMatch = HelpButton(
        "cmdHelpMatch", "Only search matching filename extensions",
        "If you select this option, Vellora will only scan for files whose filename extension matches any "
        "of those in the datafile.\r\n\r\nE.g.  If the datafile only contains .TAP and .D64 files, only "
        "these filetypes will be scanned.  Setting this option can speed up the scanning process.");
    auto* scan = new QHBoxLayout;
    scan->addWidget(chkScan);
    scan->addWidget(HelpButton(
        "cmdHelpScan", "Scan for Roms",
        "Select this option if you want Vellora to try to locate any roms or game files you may already "
        "have on your hard drive.  This scan will be performed on the datafile column you chose as the "
        "'Game Filename Field'."));
    scan->addWidget(lblRomPath);
    scan->addWidget(txtRomPath, 1);
    scan->addWidget(cmdRomPath);
    auto* match = new QHBoxLayout;
    match->addWidget(chkMatch);
    match->addWidget(cmdHelpMatch);
    match->addStretch();
    rows->addLayout(scan);
    rows->addLayout(match);
    return fraScan;
}

void frmRomCenter2::Load() {
    ImportSettings& settings = GlobalImportSettings();
    const std::string fileName = SplitPath(settings.DatafilePath).fileName;
    lblDataFile->setText(ToQt(fileName));
    lblDataFile->setToolTip(ToQt(settings.DatafilePath));
    chkTosec->setChecked(NamesTosec(fileName));
    if (settings.ImportIntoExisting) {
        txtName->setText(ToQt(settings.ExistingDatabaseName));
        txtName->setReadOnly(true);
        ShowUsable(*txtName, false);
    } else {
        txtName->setText(ToQt(MakeDefaultDatabaseName(fileName)));
    }
    lstName->setCurrentRow(static_cast<int>(kDefaultColumnItem));
    lstFile->setCurrentRow(static_cast<int>(kDefaultColumnItem));
    EnableScan(false);
    settings.ImportSucceeded = false;
    settings.NewDatabaseKey.clear();
}

void frmRomCenter2::Connect() {
    SwallowTypedCharacters(*txtName, ToQt(kInvalidNameCharacters));
    SelectAllOnFocus(*txtName);
    SelectAllOnFocus(*txtRomPath);
    connect(txtName, &QLineEdit::textChanged, this,
            [this](const QString& text) { cmdOK->setEnabled(!text.isEmpty()); });
    connect(chkScan, &QCheckBox::clicked, this, [this](bool ticked) {
        EnableScan(ticked);
        if (ticked) txtRomPath->setFocus();
    });
    connect(cmdView, &QPushButton::clicked, this, Guarded([this] { ViewDatafile(); }));
    connect(cmdRomPath, &QToolButton::clicked, this, Guarded([this] { PickRomFolder(); }));
    connect(cmdOK, &QPushButton::clicked, this, Guarded([this] { Start(); }));
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmRomCenter2::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (activated_) return;
    activated_ = true;
    if (GlobalImportSettings().ImportIntoExisting) {
        lstName->setFocus();
    } else {
        txtName->setFocus();
    }
}

void frmRomCenter2::EnableScan(bool enabled) {
    for (QWidget* widget :
         std::initializer_list<QWidget*>{lblRomPath, txtRomPath, cmdRomPath, chkMatch, cmdHelpMatch}) {
        widget->setEnabled(enabled);
    }
    ShowUsable(*txtRomPath, enabled);
}

void frmRomCenter2::ViewDatafile() {
    try {
        StartCommandLine("notepad.exe \"" + GlobalImportSettings().DatafilePath + "\"");
    } catch (const RuntimeError&) {
        ShowMessageBox(this, "Oops! Could not view file! Check that notepad.exe is on your path!",
                       MessageIcon::Exclamation, std::string(kApplicationTitle));
    }
}

void frmRomCenter2::PickRomFolder() {
    std::string& path = GlobalImportSettings().BrowseFolderPath;
    path = FromQt(txtRomPath->text());
    if (!IsAbsoluteRomPath(path) || !IsFolder(path)) path.clear();
    frmBrowseFolder(this).exec();
    if (path.empty()) return;
    txtRomPath->setText(ToQt(path));
    if (txtRomPath->isEnabled()) txtRomPath->setFocus();
}

void frmRomCenter2::Start() {
    cmdOK->setEnabled(false);
    PumpEventsNow();
    ImportOptions options;
    options.name = FromQt(txtName->text());
    options.nameColumn = SelectedColumn(*lstName);
    options.fileColumn = SelectedColumn(*lstFile);
    options.skipDuplicates = chkIgnoreDups->checkState() == Qt::Checked;
    options.tosecNames = chkTosec->checkState() == Qt::Checked;
    options.addZipExtension = chkAddZip->checkState() == Qt::Checked;
    options.scanForRoms = chkScan->checkState() == Qt::Checked;
    options.romPath = FromQt(txtRomPath->text());
    options.matchExtensionsOnly = chkMatch->checkState() == Qt::Checked;

    ImportSettings& settings = GlobalImportSettings();
    if (const auto refusal = StoreImportOptions(options, modGlobal::LibraryRoot, settings)) {
        ShowMessageBox(this, refusal->text, MessageIcon::Information, std::string(kApplicationTitle));
        QLineEdit* field = refusal->field == ImportRefusal::Field::Name ? txtName : txtRomPath;
        if (field->isEnabled()) field->setFocus();
        cmdOK->setEnabled(true);
        return;
    }
    frmProgress(this, ui_, lblDataFile->text()).exec();
    if (settings.ImportCancelled) {
        cmdOK->setEnabled(true);
        cmdOK->setFocus();
    } else {
        accept();
    }
}

}  // namespace marrowkit
