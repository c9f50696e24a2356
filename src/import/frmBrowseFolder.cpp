#include "import/frmBrowseFolder.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>
#include <vector>

#include "forms/FatalError.h"
#include "forms/Messages.h"
#include "forms/QtText.h"
#include "forms/Twips.h"
#include "global/modGlobal.h"
#include "import/ImportSettings.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FolderSearch.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "platform/text/Text.h"

namespace marrowkit {
namespace {

constexpr int kPathRole = Qt::UserRole;

/// Enter opens the highlighted folder; the dialog's default button is for when the list does not have the
/// focus.
class FolderList : public QListWidget {
public:
    using QListWidget::QListWidget;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
        if (!enter || currentItem() == nullptr) return QListWidget::keyPressEvent(event);
        event->accept();
        Q_EMIT itemDoubleClicked(currentItem());
    }
};

std::vector<std::string> SubfolderNames(const std::string& folder) {
    std::vector<std::string> names;
    for (const FoundFile& found : ListFolder(folder)) {
        if (found.IsFolder() && (found.attributes & kAttributeHidden) == 0) names.push_back(found.name);
    }
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b) { return CompareNoCase(a, b) < 0; });
    return names;
}

}  // namespace

frmBrowseFolder::frmBrowseFolder(QWidget* owner) : QDialog(owner) {
    setObjectName(QStringLiteral("frmBrowseFolder"));
    setWindowTitle(QStringLiteral("Select Folder..."));
    DriveBox = new QComboBox;
    DriveBox->setObjectName(QStringLiteral("DriveBox"));
    DriveBox->setAccessibleName(QStringLiteral("Drive"));
    DirBox = new FolderList;
    DirBox->setObjectName(QStringLiteral("DirBox"));
    DirBox->setAccessibleName(QStringLiteral("Folders"));
    DirBox->setUniformItemSizes(true);
    // Styles have open and closed folders of different sizes.
    const int iconPixels = style()->pixelMetric(QStyle::PM_SmallIconSize);
    DirBox->setIconSize(QSize(iconPixels, iconPixels));
    DriveBox->setIconSize(QSize(iconPixels, iconPixels));
    lblPath = new ElidedLabel;
    lblPath->setObjectName(QStringLiteral("lblPath"));
    cmdOK = new QPushButton(QStringLiteral("&OK"));
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("&Cancel"));
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(cmdOK, QDialogButtonBox::AcceptRole);
    buttons->addButton(cmdCancel, QDialogButtonBox::RejectRole);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(DriveBox);
    layout->addWidget(DirBox, 1);
    layout->addWidget(lblPath);
    layout->addWidget(buttons);
    SetInnerSize(*this, 4695, 3855);

    std::string& browsePath = GlobalImportSettings().BrowseFolderPath;
    const std::string start = browsePath.empty() ? modGlobal::LibraryRoot : browsePath;
    browsePath.clear();  // closing without OK returns nothing
    FillDrives();
    DriveBox->setCurrentIndex(DriveBox->findData(ToQt(UCase(Left(start, 2)) + "\\")));
    OpenFolder(start);

    connect(DriveBox, &QComboBox::activated, this, Guarded([this] {
                PumpEventsNow();
                OpenFolder(FromQt(DriveBox->currentData().toString()));
            }));
    connect(DirBox, &QListWidget::currentItemChanged, this, [this](const QListWidgetItem* entry) {
        if (entry != nullptr) lblPath->ShowText(entry->data(kPathRole).toString());
    });
    connect(DirBox, &QListWidget::itemDoubleClicked, this,
            [this](const QListWidgetItem* entry) { RunHandler([&] { OpenEntry(entry); }); });
    connect(cmdOK, &QPushButton::clicked, this, [this] {
        GlobalImportSettings().BrowseFolderPath = currentFolder_;
        accept();
    });
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmBrowseFolder::FillDrives() {
    for (const DriveMap::Drive& drive : CurrentDrives().Drives()) {
        const std::string root = std::string(1, drive.letter) + ":\\";
        DriveBox->addItem(QApplication::style()->standardIcon(QStyle::SP_DriveHDIcon), ToQt(root),
                          ToQt(root));
    }
}

void frmBrowseFolder::OpenFolder(const std::string& path) {
    currentFolder_ = WithoutFinalBackslash(path);
    const QSignalBlocker quiet(DirBox);
    DirBox->clear();
    const QIcon open = style()->standardIcon(QStyle::SP_DirOpenIcon);
    const QIcon closed = style()->standardIcon(QStyle::SP_DirIcon);
    qsizetype level = 0;
    const auto add = [&](const std::string& name, const std::string& fullPath, const QIcon& icon) {
        auto* entry = new QListWidgetItem(icon, QString(level * 2, QChar::Nbsp) + ToQt(name), DirBox);
        entry->setData(kPathRole, ToQt(fullPath));
        return entry;
    };

    // The way down from the drive, each folder one step further in.
    std::vector<std::string> way;
    for (std::string folder = currentFolder_; !folder.empty(); folder = FolderOf(folder)) {
        way.push_back(folder);
        if (IsDriveRoot(folder)) break;
    }
    QListWidgetItem* current = nullptr;
    for (auto folder = way.rbegin(); folder != way.rend(); ++folder, ++level) {
        current = add(IsDriveRoot(*folder) ? *folder : FileNameOf(*folder), *folder, open);
    }
    for (const std::string& name : SubfolderNames(currentFolder_))
        add(name, JoinPath(currentFolder_, name), closed);
    DirBox->setCurrentItem(current);
    DirBox->scrollToItem(current, QAbstractItemView::PositionAtCenter);
    lblPath->ShowText(ToQt(currentFolder_));
}

void frmBrowseFolder::OpenEntry(const QListWidgetItem* entry) {
    OpenFolder(FromQt(entry->data(kPathRole).toString()));
}

}  // namespace marrowkit
