#include "maintenance/frmGetID.h"

#include <QDialogButtonBox>
#include <QVBoxLayout>

#include "forms/FatalError.h"
#include "forms/Messages.h"
#include "forms/QtText.h"
#include "forms/Twips.h"
#include "maintenance/LookupTables.h"
#include "maintenance/RecordList.h"

namespace marrowkit {

frmGetID::frmGetID(QWidget* owner) : QDialog(owner) {
    setObjectName(QStringLiteral("frmGetID"));
    setWindowTitle(QStringLiteral("Select Replacement"));
    lstRecords = new QListWidget;
    lstRecords->setObjectName(QStringLiteral("lstRecords"));
    lstRecords->setAccessibleName(QStringLiteral("Replacement records"));
    cmdOK = new QPushButton(QStringLiteral("&OK"));
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdOK->setEnabled(false);
    cmdCancel = new QPushButton(QStringLiteral("&Cancel"));
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(cmdOK, QDialogButtonBox::AcceptRole);
    buttons->addButton(cmdCancel, QDialogButtonBox::RejectRole);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lstRecords);
    layout->addWidget(buttons);
    SetInnerSize(*this, 2895, 4230);

    connect(lstRecords, &QListWidget::itemSelectionChanged, this,
            [this] { cmdOK->setEnabled(HasSelection(*lstRecords)); });
    connect(lstRecords, &QListWidget::itemDoubleClicked, this, Guarded([this] { Choose(); }));
    connect(cmdOK, &QPushButton::clicked, this, Guarded([this] { Choose(); }));
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);

    {
        dao::Database database = dao::DBEngine().OpenDatabase(CurrentDatabasePath);
        FillRecordList(*lstRecords,
                       ListLookupRecords(database, ReplacementQuery, dao::RecordsetType::Snapshot));
    }
    if (lstRecords->count() > 0) lstRecords->setCurrentRow(0);
    ShowHourglass(false);
    ReplacementId = 0;
}

void frmGetID::Choose() {
    if (cmdOK->isEnabled() && HasSelection(*lstRecords)) {
        const LookupRecord record = SelectedRecord(*lstRecords);
        ReplacementId = record.id;
        ReplacementName = record.name;
    }
    accept();
}

}  // namespace marrowkit
