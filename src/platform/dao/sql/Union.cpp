#include "platform/dao/sql/Union.h"

#include <algorithm>
#include <optional>
#include <string>
#include <unordered_set>

#include "platform/dao/sql/KeySorter.h"
#include "platform/dao/sql/SqlErrors.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Operators.h"

namespace marrowkit::dao::sql {
namespace {

using Parts = std::vector<std::unique_ptr<Result>>;
using expression::ValueClass;

/// The type that suits two selects. Where a text meets anything else that can be written as one, it is Text.
jet::ColumnType SuitingType(jet::ColumnType left, jet::ColumnType right) {
    if (const auto common = expression::CommonType(left, right)) return *common;
    const auto is = [&](ValueClass kind) {
        return expression::ClassOf(left) == kind || expression::ClassOf(right) == kind;
    };
    return is(ValueClass::Text) && !is(ValueClass::Binary) ? jet::ColumnType::Text : left;
}

/// The type of the values in a column: a select that has only Nulls there, or of which nothing is known but
/// its values, says nothing about it.
std::optional<jet::ColumnType> TypeOfValues(const Parts& parts, std::size_t column) {
    std::optional<jet::ColumnType> type;
    for (const auto& part : parts) {
        for (std::size_t record = 0; part->Reach(record); ++record) {
            const jet::Value value = part->Read(record, column);
            if (jet::IsNull(value)) continue;
            const jet::ColumnType found = expression::TypeOf(value);
            if (!type || *type != found) type = type ? SuitingType(*type, found) : found;
        }
    }
    return type;
}

/// The type of a column of the whole; nullopt when all selects have the same.
std::optional<jet::ColumnType> MixedType(const Parts& parts, std::size_t column) {
    const jet::ColumnType first = parts.front()->Columns()[column].type;
    jet::ColumnType type = first;
    bool same = true;
    bool sameClass = true;
    for (const auto& part : parts) {
        const jet::ColumnType other = part->Columns()[column].type;
        same &= other == first;
        sameClass &= expression::ClassOf(other) == expression::ClassOf(first);
        type = SuitingType(type, other);
    }
    if (same) return std::nullopt;
    return sameClass ? type : TypeOfValues(parts, column).value_or(first);
}

/// The columns of the whole; `mixed` becomes those whose values have to be converted.
std::vector<OutputColumn> ColumnsOf(const Parts& parts, std::vector<std::size_t>& mixed) {
    std::vector<OutputColumn> columns = parts.front()->Columns();
    for (const auto& part : parts)
        if (part->Columns().size() != columns.size()) RaiseSql(SqlError::ValueCountMismatch);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        columns[i].tableColumn.reset();
        const auto type = MixedType(parts, i);
        if (!type) continue;
        columns[i].type = *type;
        mixed.push_back(i);
    }
    return columns;
}

jet::Value Converted(const jet::Value& value, jet::ColumnType type) {
    if (jet::IsNull(value)) return value;
    switch (type) {
        case jet::ColumnType::Text:
        case jet::ColumnType::Memo:
            return expression::ToText(value);
        case jet::ColumnType::Currency:
            return expression::ToCurrency(value);
        case jet::ColumnType::Double:
            return expression::ToDouble(value);
        default:
            return value;
    }
}

}  // namespace

std::unique_ptr<Result> PutTogether(const Parts& parts, std::size_t distinctParts, jet::JetVersion version) {
    std::vector<std::size_t> mixed;
    std::vector<OutputColumn> columns = ColumnsOf(parts, mixed);
    PackedRows distinct;
    PackedRows rows;
    KeySorter sorter;
    std::unordered_set<std::string> seen;
    std::string key;
    jet::Row row(columns.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i == distinctParts)
            for (const std::size_t number : sorter.Order()) rows.Append(distinct.Read(number));
        for (std::size_t record = 0; parts[i]->Reach(record); ++record) {
            for (std::size_t column = 0; column < row.size(); ++column)
                row[column] = parts[i]->Read(record, column);
            for (const std::size_t column : mixed) row[column] = Converted(row[column], columns[column].type);
            if (i >= distinctParts) {
                rows.Append(row);
                continue;
            }
            key.clear();
            for (const jet::Value& value : row) expression::AppendSortKey(version, value, false, key);
            if (!seen.insert(key).second) continue;
            sorter.Add(key);
            distinct.Append(row);
        }
    }
    if (distinctParts == parts.size())
        for (const std::size_t number : sorter.Order()) rows.Append(distinct.Read(number));
    return std::make_unique<PackedResult>(std::move(columns), std::move(rows));
}

}  // namespace marrowkit::dao::sql
