#include <algorithm>
#include <set>

#include "platform/jet/check/CheckTable.h"
#include "platform/jet/format/Collation.h"

namespace marrowkit::jet::check {

namespace {

bool IsKnown(ColumnType type) {
    return FixedWidth(type) != 0 || type == ColumnType::Boolean || type == ColumnType::Binary ||
           type == ColumnType::Text || type == ColumnType::Ole || type == ColumnType::Memo ||
           type == ColumnType::FixedBlock;
}

class DefinitionCheck {
public:
    DefinitionCheck(CheckContext& context, const std::string& name, const TableDefinition& definition)
        : context_(&context), name_(&name), definition_(&definition) {}

    void Run() {
        CheckColumns();
        CheckFixedArea();
        CheckNames();
        CheckIndexes();
    }

private:
    void Say(std::string what) { context_->report.Add(definition_->page, *name_, std::move(what)); }

    void CheckColumns() {
        if (definition_->columns.size() > static_cast<std::size_t>(kMaxColumns)) {
            Say("the definition has " + std::to_string(definition_->columns.size()) + " columns");
        }
        // That numbers and places are given once, and that indexes are on columns, reading it has made sure.
        for (const ColumnDefinition& column : definition_->columns) {
            const std::string where = "column " + column.name + ": ";
            if (!IsKnown(column.type)) {
                Say(where + "unknown type " + std::to_string(static_cast<int>(column.type)));
            }
            if (column.IsLongValue() && column.ownedMap.IsNull())
                Say(where + "has no map of its long values");
            const std::uint32_t width = FixedWidth(column.type);
            // The length field of a Numeric is 17 or 10 in files of Jet's own making.
            if (width != 0 && column.type != ColumnType::Numeric && column.lengthBytes != width) {
                Say(where + "has length " + std::to_string(column.lengthBytes));
            }
        }
    }

    void CheckFixedArea() {
        std::vector<std::pair<std::uint32_t, std::uint32_t>> ranges;
        for (const ColumnDefinition& column : definition_->columns) {
            if (!column.IsFixed() || column.type == ColumnType::Boolean) continue;
            const std::uint32_t width =
                FixedWidth(column.type) != 0 ? FixedWidth(column.type) : column.lengthBytes;
            ranges.emplace_back(column.fixedOffset, column.fixedOffset + width);
        }
        std::sort(ranges.begin(), ranges.end());
        for (std::size_t i = 0; i < ranges.size(); ++i) {
            if (i > 0 && ranges[i].first < ranges[i - 1].second) Say("two fixed columns overlap in its rows");
            if (ranges[i].second > context_->file.PageGeometry().MaxRowBytes()) {
                Say("a fixed column reaches beyond the largest row");
            }
        }
    }

    template <typename Named>
    void CheckNamesOf(const std::vector<Named>& named, const char* kind) {
        const JetVersion version = context_->file.Header().version;
        std::set<std::string> keys;
        for (const Named& item : named) {
            if (item.name.empty()) Say(std::string(kind) + " without a name");
            std::vector<std::uint8_t> key;
            AppendComparisonKey(version, item.name, key);
            if (!keys.insert(std::string(key.begin(), key.end())).second) {
                Say(std::string(kind) + " " + item.name + " exists twice");
            }
        }
    }

    void CheckNames() {
        CheckNamesOf(definition_->columns, "column");
        CheckNamesOf(definition_->logicalIndexes, "index");
    }

    void CheckIndexes() {
        std::set<std::uint32_t> numbers;
        for (const LogicalIndex& index : definition_->logicalIndexes) {
            if (!numbers.insert(index.number).second) {
                Say("index " + index.name + ": another index has its number");
            }
        }
        for (std::size_t i = 0; i < definition_->realIndexes.size(); ++i) {
            if (definition_->realIndexes[i].columns.empty()) {
                Say("index " + IndexName(*definition_, i) + " has no column");
            }
        }
    }

    CheckContext* context_;
    const std::string* name_;
    const TableDefinition* definition_;
};

}  // namespace

void CheckDefinition(CheckContext& context, const std::string& name, const TableDefinition& definition) {
    DefinitionCheck(context, name, definition).Run();
}

std::string IndexName(const TableDefinition& definition, std::size_t realIndex) {
    for (const LogicalIndex& index : definition.logicalIndexes) {
        if (index.realIndex == realIndex) return index.name;
    }
    return "number " + std::to_string(realIndex);
}

}  // namespace marrowkit::jet::check
