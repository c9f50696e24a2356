#include "maintenance/RecordList.h"

#include "forms/QtText.h"

namespace marrowkit {

void FillRecordList(QListWidget& list, const std::vector<LookupRecord>& records) {
    list.clear();
    list.setUniformItemSizes(true);
    for (const LookupRecord& record : records) {
        auto* item = new QListWidgetItem(ToQt(record.name), &list);
        item->setData(Qt::UserRole, record.id);
    }
}

LookupRecord SelectedRecord(const QListWidget& list) {
    const QListWidgetItem* item = list.currentItem();
    return {item->data(Qt::UserRole).toInt(), FromQt(item->text())};
}

bool HasSelection(const QListWidget& list) {
    return list.currentItem() != nullptr && list.currentItem()->isSelected();
}

}  // namespace marrowkit
