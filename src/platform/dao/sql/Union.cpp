#include "platform/dao/sql/Union.h"

#include <string>
#include <unordered_set>

#include "platform/dao/sql/KeySorter.h"
#include "platform/dao/sql/SqlErrors.h"
#include "platform/jet/expression/Operators.h"

namespace marrowkit::dao::sql {

std::unique_ptr<Result> PutTogether(const std::vector<std::unique_ptr<Result>>& parts, bool all,
                                    jet::JetVersion version) {
    const std::vector<OutputColumn> columns = parts.front()->Columns();
    PackedRows rows;
    KeySorter sorter;
    std::unordered_set<std::string> seen;
    jet::Row row(columns.size());
    for (const auto& part : parts) {
        if (part->Columns().size() != columns.size()) RaiseSql(SqlError::ValueCountMismatch);
        for (std::size_t record = 0; part->Reach(record); ++record) {
            std::string key;
            for (std::size_t i = 0; i < row.size(); ++i) {
                row[i] = part->Read(record, i);
                expression::AppendSortKey(version, row[i], false, key);
            }
            if (!all && !seen.insert(key).second) continue;
            if (!all) sorter.Add(key);
            rows.Append(row);
        }
    }
    PackedRows arranged;
    for (const std::size_t number : sorter.Order()) arranged.Append(rows.Read(number));
    std::vector<OutputColumn> plain = columns;
    for (OutputColumn& column : plain) column.tableColumn.reset();
    return std::make_unique<PackedResult>(std::move(plain), all ? std::move(rows) : std::move(arranged));
}

}  // namespace marrowkit::dao::sql
