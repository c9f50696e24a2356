#include "platform/dao/sql/Aggregation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <unordered_map>

#include "platform/jet/expression/Calendar.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Operators.h"

namespace marrowkit::dao::sql {
namespace {

using jet::ColumnType;
using jet::Value;

struct AggregateName {
    std::string_view name;
    AggregateKind kind;
};

constexpr std::array kNames{
    AggregateName{"Count", AggregateKind::Count},   AggregateName{"Sum", AggregateKind::Sum},
    AggregateName{"Avg", AggregateKind::Avg},       AggregateName{"Min", AggregateKind::Min},
    AggregateName{"Max", AggregateKind::Max},       AggregateName{"First", AggregateKind::First},
    AggregateName{"Last", AggregateKind::Last},     AggregateName{"StDev", AggregateKind::StDev},
    AggregateName{"StDevP", AggregateKind::StDevP}, AggregateName{"Var", AggregateKind::Var},
    AggregateName{"VarP", AggregateKind::VarP},
};

/// What one aggregate has seen of one group.
struct Tally {
    std::int64_t count = 0;
    double sum = 0;
    double mean = 0;  ///< running mean and sum of squared distances from it
    double squares = 0;
    jet::Currency money;
    Value value;  ///< Min, Max, First, Last
};

bool IsMoney(const Aggregate& aggregate) {
    return aggregate.argument && aggregate.argument.Type() == ColumnType::Currency;
}

void AddNumber(const Aggregate& aggregate, const Value& value, Tally& tally) {
    if (IsMoney(aggregate)) tally.money = expression::AddCurrency(tally.money, expression::ToCurrency(value));
    const double number = expression::ToDouble(value);
    tally.sum += number;
    const double distance = number - tally.mean;
    tally.mean += distance / static_cast<double>(tally.count);
    tally.squares += distance * (number - tally.mean);
}

void Add(const Aggregate& aggregate, const jet::Row& row, jet::JetVersion version, Tally& tally) {
    if (aggregate.kind == AggregateKind::CountRows) {
        ++tally.count;
        return;
    }
    Value scratch;
    const Value& value = aggregate.argument.Evaluate(row, scratch);
    // First and Last take what stands in the row, Null or not.
    if (aggregate.kind == AggregateKind::First || aggregate.kind == AggregateKind::Last) {
        if (tally.count == 0 || aggregate.kind == AggregateKind::Last) tally.value = value;
        ++tally.count;
        return;
    }
    if (jet::IsNull(value)) return;
    ++tally.count;
    switch (aggregate.kind) {
        case AggregateKind::Count:
            return;
        case AggregateKind::Min:
            if (tally.count == 1 || expression::Compare(version, value, tally.value) < 0) tally.value = value;
            return;
        case AggregateKind::Max:
            if (tally.count == 1 || expression::Compare(version, value, tally.value) > 0) tally.value = value;
            return;
        default:
            AddNumber(aggregate, value, tally);
    }
}

Value Finish(const Aggregate& aggregate, const Tally& tally) {
    const auto count = static_cast<double>(tally.count);
    switch (aggregate.kind) {
        case AggregateKind::Count:
        case AggregateKind::CountRows:
            return static_cast<std::int32_t>(tally.count);
        case AggregateKind::Min:
        case AggregateKind::Max:
        case AggregateKind::First:
        case AggregateKind::Last:
            return tally.value;
        case AggregateKind::Sum:
            if (tally.count == 0) return jet::Null{};
            if (IsMoney(aggregate)) return tally.money;
            return tally.sum;
        case AggregateKind::Avg:
            if (tally.count == 0) return jet::Null{};
            if (IsMoney(aggregate))
                return expression::ToCurrency(Value(expression::ToDouble(tally.money) / count));
            return tally.sum / count;
        default:
            break;
    }
    const bool sample = aggregate.kind == AggregateKind::StDev || aggregate.kind == AggregateKind::Var;
    const double divisor = sample ? count - 1 : count;
    if (divisor <= 0) return jet::Null{};
    const double variance = tally.squares / divisor;
    const bool root = aggregate.kind == AggregateKind::StDev || aggregate.kind == AggregateKind::StDevP;
    return root ? std::sqrt(variance) : variance;
}

/// The groups met so far. Group values and tallies stand side by side, by the group's number.
struct Groups {
    std::unordered_map<std::string, std::size_t> numbers;
    PackedRows values;
    std::vector<std::vector<Tally>> tallies;
};

std::size_t FindGroup(const jet::Row& row, const std::vector<expression::Expression>& expressions,
                      std::size_t aggregates, jet::JetVersion version, std::string& key, Groups& groups) {
    key.clear();
    jet::Row values;
    values.reserve(expressions.size());
    for (const expression::Expression& expression : expressions) {
        values.push_back(expression.Evaluate(row));
        expression::AppendSortKey(version, values.back(), false, key);
    }
    const auto [place, isNew] = groups.numbers.try_emplace(key, groups.tallies.size());
    if (isNew) {
        groups.values.Append(values);
        groups.tallies.emplace_back(aggregates);
    }
    return place->second;
}

}  // namespace

std::optional<AggregateKind> FindAggregate(std::string_view name) {
    for (const AggregateName& candidate : kNames)
        if (expression::SameName(name, candidate.name)) return candidate.kind;
    return std::nullopt;
}

std::optional<ColumnType> Aggregate::ResultType() const {
    switch (kind) {
        case AggregateKind::Count:
        case AggregateKind::CountRows:
            return ColumnType::Long;
        case AggregateKind::Min:
        case AggregateKind::Max:
        case AggregateKind::First:
        case AggregateKind::Last:
            return argument.Type();
        case AggregateKind::Sum:
        case AggregateKind::Avg:
            return IsMoney(*this) ? ColumnType::Currency : ColumnType::Double;
        default:
            return ColumnType::Double;
    }
}

PackedRows Summarize(RowStream& input, const std::vector<expression::Expression>& expressions,
                     const std::vector<Aggregate>& aggregates, jet::JetVersion version) {
    Groups groups;
    std::string key;
    if (expressions.empty()) FindGroup({}, expressions, aggregates.size(), version, key, groups);
    while (const jet::Row* row = input.Next()) {
        const std::size_t group = FindGroup(*row, expressions, aggregates.size(), version, key, groups);
        for (std::size_t i = 0; i < aggregates.size(); ++i)
            Add(aggregates[i], *row, version, groups.tallies[group][i]);
    }
    std::vector<std::pair<const std::string*, std::size_t>> order;
    order.reserve(groups.numbers.size());
    for (const auto& [groupKey, number] : groups.numbers) order.emplace_back(&groupKey, number);
    std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) { return *a.first < *b.first; });
    PackedRows result;
    for (const auto& [groupKey, number] : order) {
        jet::Row row = groups.values.Read(number);
        for (std::size_t i = 0; i < aggregates.size(); ++i)
            row.push_back(Finish(aggregates[i], groups.tallies[number][i]));
        result.Append(row);
    }
    return result;
}

}  // namespace marrowkit::dao::sql
