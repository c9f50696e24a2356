#include "maintenance/frmRemoveRec.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QVBoxLayout>

#include "forms/Messages.h"
#include "forms/QtText.h"
#include "forms/Twips.h"
#include "maintenance/LookupTables.h"
#include "maintenance/RecordList.h"
#include "maintenance/frmGetID.h"

namespace marrowkit {
namespace {

bool IsArrow(const QKeyEvent& event) {
    return event.key() == Qt::Key_Down || event.key() == Qt::Key_Up;
}

}  // namespace

frmRemoveRec::frmRemoveRec(QWidget* owner, UserInterface& ui) : QDialog(owner), ui_(ui) {
    setObjectName(QStringLiteral("frmRemoveRec"));
    setWindowTitle(QStringLiteral("Delete Records from Table"));
    lstTable = new QListWidget;
    lstTable->setObjectName(QStringLiteral("lstTable"));
    for (const LookupTable& table : kLookupTables) lstTable->addItem(ToQt(table.table));
    lstTable->setFixedHeight(lstTable->sizeHintForRow(0) * lstTable->count() + 2 * lstTable->frameWidth());
    lstRecords = new QListWidget;
    lstRecords->setObjectName(QStringLiteral("lstRecords"));
    cmdDelete = new QPushButton(QStringLiteral("&Delete..."));
    cmdDelete->setObjectName(QStringLiteral("cmdDelete"));
    cmdDelete->setEnabled(false);
    cmdClose = new QPushButton(QStringLiteral("&Close"));
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    for (QPushButton* button : {cmdDelete, cmdClose}) button->setAutoDefault(false);

    auto* tableLabel = new QLabel(QStringLiteral("&Table:"));
    tableLabel->setBuddy(lstTable);
    auto* recordsLabel = new QLabel(QStringLiteral("&Records:"));
    recordsLabel->setBuddy(lstRecords);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdDelete);
    buttons->addWidget(cmdClose);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tableLabel);
    layout->addWidget(lstTable);
    layout->addWidget(recordsLabel);
    layout->addWidget(lstRecords, 1);
    layout->addLayout(buttons);
    SetInnerSize(*this, 3615, 4575);

    connect(lstTable, &QListWidget::itemSelectionChanged, this, Guarded([this] { ShowTable(); }));
    lstTable->installEventFilter(this);
    lstTable->viewport()->installEventFilter(this);
    connect(lstTable, &QListWidget::itemClicked, this, Guarded([this] {
                if (lstTable->currentRow() == tableBeforeClick_) ShowTable();
            }));
    connect(lstRecords, &QListWidget::itemSelectionChanged, this,
            [this] { cmdDelete->setEnabled(HasSelection(*lstRecords)); });
    connect(lstRecords, &QListWidget::itemDoubleClicked, this, Guarded([this] { DeleteRecord(); }));
    connect(cmdDelete, &QPushButton::clicked, this, Guarded([this] { DeleteRecord(); }));
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::accept);

    database_.emplace(dao::DBEngine().OpenDatabase(CurrentDatabasePath));
}

frmRemoveRec::~frmRemoveRec() {
    frmRemoveRec::CloseDatabase();
}

void frmRemoveRec::CloseDatabase() noexcept {
    database_.reset();
}

bool frmRemoveRec::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonPress) tableBeforeClick_ = lstTable->currentRow();
    if (watched == lstTable && event->type() == QEvent::KeyPress && !HasSelection(*lstTable) &&
        IsArrow(*static_cast<QKeyEvent*>(event))) {
        lstTable->setCurrentRow(0);
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

void frmRemoveRec::ShowTable() {
    const bool hadFocus = focusWidget() == lstTable;
    for (QWidget* control : std::initializer_list<QWidget*>{lstTable, cmdDelete, cmdClose, lstRecords}) {
        control->setEnabled(false);
    }
    lstRecords->clear();
    if (HasSelection(*lstTable)) {
        const LookupTable& table = kLookupTables[static_cast<std::size_t>(lstTable->currentRow())];
        FillRecordList(*lstRecords, ListLookupRecords(*database_, table.deletionList));
    }
    for (QWidget* control : std::initializer_list<QWidget*>{lstTable, cmdClose, lstRecords})
        control->setEnabled(true);
    if (hadFocus) lstTable->setFocus();  // a disabled list loses it, and the arrow keys with it
    if (lstRecords->count() > 0) lstRecords->setCurrentRow(0);
}

void frmRemoveRec::DeleteRecord() {
    if (!HasSelection(*lstTable) || !HasSelection(*lstRecords)) {
        cmdDelete->setEnabled(false);
        return;
    }
    const LookupTable& table = kLookupTables[static_cast<std::size_t>(lstTable->currentRow())];
    const LookupRecord record = SelectedRecord(*lstRecords);
    ReplacementQuery = ReplacementStatement(table, record.id);
    ShowHourglass(true);
    PumpEventsNow();
    frmGetID(this).exec();
    if (ReplacementId <= 0) return FocusRecords();
    if (!ConfirmLookupDeletion(ui_, table, record, {ReplacementId, ReplacementName})) return;
    DeleteLookupRecord(*database_, table, record.id, ReplacementId);
    RemoveFromList(lstRecords->currentRow());
    ReportLookupDeletion(ui_);
    FocusRecords();
}

void frmRemoveRec::RemoveFromList(int row) {
    delete lstRecords->takeItem(row);
    const int remaining = lstRecords->count();
    if (remaining == 0) return;
    lstRecords->setCurrentRow(static_cast<int>(
        SelectionAfterDeletion(static_cast<std::size_t>(row), static_cast<std::size_t>(remaining))));
}

void frmRemoveRec::FocusRecords() {
    if (lstRecords->isEnabled()) lstRecords->setFocus();
}

}  // namespace marrowkit
