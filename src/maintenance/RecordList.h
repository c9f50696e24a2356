#pragma once

#include <QListWidget>
#include <vector>

#include "maintenance/LookupTables.h"

namespace marrowkit {

/// Shows records by their names; each item keeps its record's key.
void FillRecordList(QListWidget& list, const std::vector<LookupRecord>& records);

/// REQUIRES: an item is selected.
LookupRecord SelectedRecord(const QListWidget& list);

/// Whether an item is selected (a list can have a current item that is not).
bool HasSelection(const QListWidget& list);

}  // namespace marrowkit
