#include "platform/dao/sql/StreamBuilder.h"

#include <algorithm>
#include <utility>

#include "platform/dao/sql/SqlErrors.h"
#include "platform/dao/sql/Subqueries.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

using expression::Node;
using expression::NodeKind;

/// An index is asked once for each row of the left side only if those are few beside the right side's rows.
constexpr double kLookupAdvantage = 4;

/// Moves the conditions that look at nothing outside of `sources` from one list to the other.
std::vector<Condition> TakeWithin(std::vector<Condition>& conditions, SourceSet sources) {
    std::vector<Condition> taken;
    const auto kept =
        std::stable_partition(conditions.begin(), conditions.end(), [&](const Condition& condition) {
            return (condition.sources & ~sources) != 0 || condition.sources == 0;
        });
    std::move(kept, conditions.end(), std::back_inserter(taken));
    conditions.erase(kept, conditions.end());
    return taken;
}

/// Types whose sort keys are not those of Doubles.
bool HasOwnKey(jet::ColumnType type) {
    return type == jet::ColumnType::Currency || type == jet::ColumnType::Numeric;
}

}  // namespace

StreamBuilder::StreamBuilder(Scope& scope, jet::Database& database, std::vector<std::string>& unknownNames)
    : scope_(scope), database_(database), version_(database.Version()), unknownNames_(unknownNames) {}

expression::Binding StreamBuilder::MakeBinding() {
    expression::Binding binding;
    binding.version = version_;
    binding.resolve = scope_.Resolver();
    binding.unknownNames = &unknownNames_;
    binding.runSubquery = SubqueriesOf(database_);
    return binding;
}

void StreamBuilder::AddFrom(const Source& from) {
    std::unique_ptr<Place> place = Add(from);
    if (!root_) {
        root_ = std::move(place);
        return;
    }
    // Places behind commas are joined; their conditions stand in the WHERE.
    auto join = std::make_unique<Place>();
    join->kind = Source::Kind::InnerJoin;
    join->sources = root_->sources | place->sources;
    join->left = std::move(root_);
    join->right = std::move(place);
    root_ = std::move(join);
}

std::unique_ptr<StreamBuilder::Place> StreamBuilder::Add(const Source& from) {
    auto place = std::make_unique<Place>();
    place->kind = from.kind;
    if (!from.IsJoin()) {
        place->source = nextSource_++;
        place->sources = SourceSet{1} << place->source;
        return place;
    }
    place->left = Add(*from.left);
    place->right = Add(*from.right);
    place->sources = place->left->sources | place->right->sources;
    place->on = BindOn(from.on);
    if (from.kind == Source::Kind::RightJoin) {
        std::swap(place->left, place->right);
        place->kind = Source::Kind::LeftJoin;
    }
    return place;
}

std::vector<Condition> StreamBuilder::BindOn(const NodePtr& on) {
    std::vector<NodePtr> parts;
    SplitConjunction(on->Clone(), parts);
    std::vector<Condition> conditions;
    for (NodePtr& part : parts) {
        Condition condition;
        try {
            condition.expression = expression::Expression(std::move(part), MakeBinding());
        } catch (const RuntimeError& error) {
            if (error.number == static_cast<int>(jet::JetError::CriteriaTypeMismatch))
                jet::RaiseJet(jet::JetError::JoinTypeMismatch);
            throw;
        }
        condition.sources = scope_.SourcesOf(condition.expression.Root());
        conditions.push_back(std::move(condition));
    }
    return conditions;
}

void StreamBuilder::AddWhere(NodePtr where) {
    std::vector<NodePtr> parts;
    SplitConjunction(std::move(where), parts);
    for (NodePtr& part : parts) {
        Condition condition;
        condition.expression = expression::Expression(std::move(part), MakeBinding());
        condition.sources = scope_.SourcesOf(condition.expression.Root());
        conditions_.push_back(std::move(condition));
    }
}

std::unique_ptr<RowStream> StreamBuilder::Build() {
    std::vector<Condition> conditions = std::move(conditions_);
    std::unique_ptr<RowStream> stream =
        root_ ? BuildPlace(*root_, conditions).stream : std::make_unique<SingleRowStream>();
    if (conditions.empty()) return stream;
    return std::make_unique<FilterStream>(std::move(stream), std::move(conditions));
}

StreamBuilder::Built StreamBuilder::BuildPlace(const Place& place, std::vector<Condition>& conditions) {
    if (place.kind == Source::Kind::InnerJoin || place.kind == Source::Kind::LeftJoin)
        return BuildJoin(place, conditions);
    return BuildSource(place, conditions);
}

StreamBuilder::Built StreamBuilder::BuildSource(const Place& place, std::vector<Condition>& conditions) {
    std::vector<Condition> own = TakeWithin(conditions, place.sources);
    AccessPath path;
    if (scope_.Sources()[place.source].table)
        path = ChoosePath(scope_, place.source, own);
    else
        path.expectedRows = static_cast<double>(scope_.Sources()[place.source].rows->CountAll());
    return {std::make_unique<SourceStream>(scope_, place.source, path, std::move(own)), path.expectedRows};
}

/// Takes a condition "left side = right side" for the join's key.
bool StreamBuilder::SplitEqual(const Condition& condition, SourceSet left, SourceSet right,
                               JoinStream::Plan& plan) const {
    const Node& root = condition.expression.Root();
    if (root.kind != NodeKind::Binary || root.op != expression::Operator::Equal) return false;
    const Node* a = root.children[0].get();
    const Node* b = root.children[1].get();
    SourceSet ofA = scope_.SourcesOf(*a);
    SourceSet ofB = scope_.SourcesOf(*b);
    if ((ofA & ~left) != 0) {
        std::swap(a, b);
        std::swap(ofA, ofB);
    }
    if (ofA == 0 || ofB == 0 || (ofA & ~left) != 0 || (ofB & ~right) != 0) return false;
    if (!a->type || !b->type) return false;
    const auto classA = expression::ClassOf(*a->type);
    const auto classB = expression::ClassOf(*b->type);
    const auto counts = [](expression::ValueClass kind) {
        return kind == expression::ValueClass::Number || kind == expression::ValueClass::Date;
    };
    if (classA != classB && !(counts(classA) && counts(classB))) return false;
    expression::Binding binding;
    binding.version = version_;
    JoinStream::EqualPair pair;
    pair.left = expression::Expression(a->Clone(), binding);
    pair.right = expression::Expression(b->Clone(), binding);
    pair.asNumbers = counts(classA) && *a->type != *b->type && (HasOwnKey(*a->type) || HasOwnKey(*b->type));
    plan.equal.push_back(std::move(pair));
    return true;
}

/// Looks for an index of the right side whose leading columns are exactly the join's equal columns.
void StreamBuilder::PlanLookup(const Place& right, double leftRows, std::vector<Condition>& rightConditions,
                               JoinStream::Plan& plan) const {
    if (right.kind != Source::Kind::Table || plan.equal.empty()) return;
    const BoundSource& source = scope_.Sources()[right.source];
    if (!source.table || leftRows * kLookupAdvantage > static_cast<double>(source.table->RowCount())) return;
    for (std::size_t i = 0; i < source.table->Indexes().size(); ++i) {
        const auto& parts = source.table->Indexes()[i].parts;
        if (parts.size() < plan.equal.size()) continue;
        // One pair for each part: two pairs may name the same column.
        std::vector<std::size_t> order;
        for (std::size_t part = 0; part < plan.equal.size() && order.size() == part; ++part) {
            const auto column = source.table->FindColumn(parts[part].column);
            for (std::size_t pair = 0; pair < plan.equal.size() && order.size() == part; ++pair) {
                const Node& node = plan.equal[pair].right.Root();
                const bool same = plan.equal[pair].left.Type() == node.type;
                if (node.kind == NodeKind::Slot && same && column == scope_.PlaceOf(node.slot).column)
                    order.push_back(pair);
            }
        }
        if (order.size() != plan.equal.size()) continue;
        std::vector<JoinStream::EqualPair> sorted;
        sorted.reserve(order.size());
        for (const std::size_t pair : order) sorted.push_back(std::move(plan.equal[pair]));
        plan.equal = std::move(sorted);
        plan.lookupSource = right.source;
        plan.lookupIndex = i;
        plan.lookupConditions = std::exchange(rightConditions, {});
        return;
    }
}

StreamBuilder::Built StreamBuilder::BuildJoin(const Place& place, std::vector<Condition>& conditions) {
    JoinStream::Plan plan;
    plan.outer = place.kind == Source::Kind::LeftJoin;
    plan.slotCount = scope_.SlotCount();
    plan.version = version_;
    // What an inner join demands may be tested as early as what the WHERE demands.
    if (!plan.outer) conditions.insert(conditions.end(), place.on.begin(), place.on.end());
    Built left = BuildPlace(*place.left, conditions);

    // An outer join's right side may be narrowed by ON alone: the WHERE comes behind it.
    std::vector<Condition> candidates;
    if (plan.outer) {
        candidates = place.on;
    } else {
        candidates = TakeWithin(conditions, place.sources);
    }
    std::vector<Condition> rightConditions = TakeWithin(candidates, place.right->sources);
    for (Condition& condition : candidates)
        if (!SplitEqual(condition, place.left->sources, place.right->sources, plan))
            plan.conditions.push_back(std::move(condition));

    PlanLookup(*place.right, left.expectedRows, rightConditions, plan);
    double rows = left.expectedRows;
    if (!plan.lookupSource) {
        Built right = BuildPlace(*place.right, rightConditions);
        rows = plan.equal.empty() ? rows * std::max(1.0, right.expectedRows)
                                  : std::max(rows, right.expectedRows);
        plan.right = std::move(right.stream);
        // What the right side could not test itself, the join does.
        std::move(rightConditions.begin(), rightConditions.end(), std::back_inserter(plan.conditions));
    }
    for (std::size_t i = 0; i < scope_.Sources().size(); ++i) {
        if ((place.right->sources >> i & 1U) == 0) continue;
        const auto& slots = scope_.Sources()[i].slots;
        plan.rightSlots.insert(plan.rightSlots.end(), slots.begin(), slots.end());
        if (const auto id = scope_.Sources()[i].idSlot) plan.rightSlots.push_back(*id);
    }
    plan.left = std::move(left.stream);
    return {std::make_unique<JoinStream>(scope_, std::move(plan)), rows};
}

}  // namespace marrowkit::dao::sql
