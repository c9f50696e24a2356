#include "platform/dao/sql/Subqueries.h"

#include <algorithm>
#include <utility>

#include "platform/dao/sql/Query.h"
#include "platform/dao/sql/SqlErrors.h"
#include "platform/dao/sql/StatementParser.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Subquery.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

/// The deepest of the expressions of a SELECT and of those in its FROM.
class DepthOfSelect {
public:
    explicit DepthOfSelect(const Select& select) { See(select); }
    std::uint16_t Depth() const { return depth_; }

private:
    void See(const NodePtr& node) {
        if (node) depth_ = std::max(depth_, node->depth);
    }
    void See(const Source& place) {
        See(place.on);
        if (place.left) See(*place.left);
        if (place.right) See(*place.right);
        if (place.subquery) See(*place.subquery);
    }
    void See(const Select& select) {
        for (const SelectItem& item : select.items) See(item.value);
        for (const auto& place : select.from) See(*place);
        See(select.where);
        for (const NodePtr& group : select.groupBy) See(group);
        See(select.having);
        for (const OrderItem& item : select.orderBy) See(item.value);
        for (const auto& other : select.unions) See(*other);
    }

    std::uint16_t depth_ = 1;
};

class SelectSubquery : public expression::Subquery {
public:
    explicit SelectSubquery(Select select)
        : select_(std::move(select)), depth_(DepthOfSelect(select_).Depth()) {}
    std::uint16_t Depth() const override { return depth_; }
    const Select& ItsSelect() const { return select_; }

private:
    Select select_;
    std::uint16_t depth_;
};

/// The type of a table's own column; of a computed one, that of its values.
std::optional<jet::ColumnType> TypeOfValues(const OutputColumn& column,
                                            const std::vector<jet::Value>& values) {
    if (column.tableColumn) return column.type;
    const auto known = std::ranges::find_if_not(values, jet::IsNull);
    if (known == values.end()) return std::nullopt;
    return expression::TypeOf(*known);
}

}  // namespace

std::shared_ptr<const expression::Subquery> ReadSubquery(expression::TokenStream& tokens) {
    Select select = ParseSelect(tokens);
    if (!select.into.empty()) jet::RaiseJet(jet::JetError::SelectSyntax);
    return std::make_shared<SelectSubquery>(std::move(select));
}

expression::SubqueryRunner SubqueriesOf(jet::Database& database) {
    return [&database](const expression::Subquery& subquery, bool single) {
        const auto& select = dynamic_cast<const SelectSubquery&>(subquery).ItsSelect();
        const std::unique_ptr<Result> result = OpenSelect(database, select);
        if (result->Columns().size() != 1) RaiseSql(SqlError::SubqueryOfSeveralFields);
        std::vector<jet::Value> values;
        for (std::size_t record = 0; result->Reach(record); ++record) {
            if (single && record > 0) RaiseSql(SqlError::SubqueryOfSeveralRecords);
            values.push_back(result->Read(record, 0));
        }
        const auto type = TypeOfValues(result->Columns().front(), values);
        return std::make_shared<const expression::ValueSet>(database.Version(), type, std::move(values));
    };
}

}  // namespace marrowkit::dao::sql
