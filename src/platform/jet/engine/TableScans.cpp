#include "platform/jet/engine/TableScans.h"

#include <algorithm>

#include "platform/jet/engine/IndexBounds.h"
#include "platform/jet/engine/RowDecoding.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

class StorageOrderScan final : public Table::Scan {
public:
    StorageOrderScan(std::shared_ptr<const TableLayout> layout, const std::vector<std::size_t>& columns)
        : layout_(std::move(layout)), decoder_(*layout_, columns), cursor_(layout_->rows) {
        values_.resize(columns.size());
    }

    bool Next() override {
        if (!cursor_.Next()) return false;
        try {
            decoder_.Decode(cursor_.Bytes(), values_);
        } catch (const OutOfBounds&) {
            RaiseDamagedRow(*layout_, cursor_.Id());
        }
        return true;
    }
    RowId Id() const override { return cursor_.Id(); }
    const Row& Values() const override { return values_; }

private:
    std::shared_ptr<const TableLayout> layout_;
    RowDecoder decoder_;
    RowStore::Cursor cursor_;
    Row values_;
};

class RangeScan final : public Table::Scan {
public:
    RangeScan(std::shared_ptr<const TableLayout> layout, std::size_t realIndex, const IndexRange& range,
              const std::vector<std::size_t>& columns, bool backwards)
        : layout_(std::move(layout)),
          decoder_(*layout_, columns),
          backwards_(backwards),
          bounds_(BoundsOf(*layout_, layout_->realIndexes[realIndex], range)),
          cursor_(layout_->realIndexes[realIndex].tree) {
        if (!backwards_) {
            cursor_.SeekBefore(bounds_.start);
        } else if (bounds_.end) {
            cursor_.SeekBefore(*bounds_.end);
        } else {
            cursor_.SeekAfterLast();
        }
        values_.resize(columns.size());
    }

    bool Next() override {
        if (atEnd_ || !Step()) {
            atEnd_ = true;
            return false;
        }
        id_ = cursor_.Row();
        try {
            const std::optional<StoredRow> row = layout_->rows.Read(id_);
            if (!row) {
                RaiseCorrupt(layout_->pager->Path(), "table " + layout_->name +
                                                         ": an index entry points to row " + RowText(id_) +
                                                         ", which is not there");
            }
            decoder_.Decode(row->bytes, values_);
        } catch (const OutOfBounds&) {
            RaiseDamagedRow(*layout_, id_);
        }
        return true;
    }
    RowId Id() const override { return id_; }
    const Row& Values() const override { return values_; }

private:
    static std::string RowText(RowId row) {
        return std::to_string(row.page) + ":" + std::to_string(row.slot);
    }
    static bool Less(KeyView left, KeyView right) {
        return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end());
    }
    bool Step() {
        if (backwards_) return cursor_.Previous() && !Less(cursor_.Key(), bounds_.start);
        return cursor_.Next() && (!bounds_.end || Less(cursor_.Key(), *bounds_.end));
    }

    std::shared_ptr<const TableLayout> layout_;
    RowDecoder decoder_;
    bool backwards_;
    KeyBounds bounds_;
    BTree::Cursor cursor_;
    bool atEnd_ = false;
    RowId id_;
    Row values_;
};

}  // namespace

std::unique_ptr<Table::Scan> OpenTableScan(std::shared_ptr<const TableLayout> layout,
                                           const std::vector<std::size_t>& columns) {
    return std::make_unique<StorageOrderScan>(std::move(layout), columns);
}

std::unique_ptr<Table::Scan> OpenRangeScan(std::shared_ptr<const TableLayout> layout, std::size_t realIndex,
                                           const IndexRange& range, const std::vector<std::size_t>& columns,
                                           bool backwards) {
    return std::make_unique<RangeScan>(std::move(layout), realIndex, range, columns, backwards);
}

void RaiseDamagedRow(const TableLayout& layout, RowId row) {
    RaiseCorrupt(layout.pager->Path(), "table " + layout.name + ", row " + std::to_string(row.page) + ":" +
                                           std::to_string(row.slot) + ": its parts reach beyond its end");
}

}  // namespace marrowkit::jet
