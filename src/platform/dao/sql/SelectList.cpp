#include "platform/dao/sql/SelectList.h"

#include <algorithm>

#include "platform/dao/sql/SqlErrors.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

using expression::Node;
using expression::NodeKind;
using jet::JetError;
using jet::RaiseJet;

NodePtr MakeName(std::string qualifier, std::string name) {
    auto node = std::make_unique<Node>(NodeKind::Name);
    node->qualifier = std::move(qualifier);
    node->name = std::move(name);
    node->bracketed = true;
    return node;
}

}  // namespace

void SelectList::Make() {
    for (const SelectItem& item : select_.items) {
        if (!item.value) {
            AddStar(item);
            continue;
        }
        Output output;
        output.value = item.value->Clone();
        output.name = item.alias;
        if (output.name.empty())
            output.name = item.value->kind == NodeKind::Name
                              ? item.value->name
                              : "Expr" + std::to_string(1000 + outputs_.size());
        outputs_.push_back(std::move(output));
    }
    for (Output& output : outputs_) output.value = ExpandAliases(std::move(output.value), 0);
}

void SelectList::AddStar(const SelectItem& item) {
    const auto& sources = scope_.Sources();
    if (sources.empty()) RaiseSql(SqlError::NoInput);
    bool found = false;
    for (const BoundSource& source : sources) {
        if (!item.starTable.empty() && !expression::SameName(source.alias, item.starTable)) continue;
        found = true;
        for (std::size_t column = 0; column < source.ColumnCount(); ++column)
            AddStarColumn(source, source.ColumnName(column));
    }
    if (!found) RaiseJet(JetError::InputTableNotFound, {item.starTable});
}

/// A name that several sources have is told apart by the source.
void SelectList::AddStarColumn(const BoundSource& source, const std::string& name) {
    const auto& sources = scope_.Sources();
    const auto having = std::count_if(sources.begin(), sources.end(), [&](const BoundSource& other) {
        return other.FindColumn(name).has_value();
    });
    const bool shared = having > 1 && select_.items.size() == 1 && select_.items[0].starTable.empty();
    outputs_.push_back({shared ? source.alias + "." + name : name, MakeName(source.alias, name)});
}

NodePtr SelectList::ExpandAliases(NodePtr node, int depth) const {
    if (node->kind == NodeKind::Name && node->qualifier.empty() && !scope_.Find("", node->name)) {
        for (const SelectItem& item : select_.items) {
            if (item.alias.empty() || !expression::SameName(item.alias, node->name)) continue;
            if (depth > 20) RaiseSql(SqlError::CircularAlias, {item.alias});
            return ExpandAliases(item.value->Clone(), depth + 1);
        }
        return node;
    }
    for (NodePtr& child : node->children) child = ExpandAliases(std::move(child), depth);
    return node;
}

NodePtr SelectList::OrderValue(const OrderItem& item) const {
    const auto* position =
        item.value->kind == NodeKind::Literal ? std::get_if<std::int32_t>(&item.value->value) : nullptr;
    if (!position) return ExpandAliases(item.value->Clone(), 0);
    if (*position < 1 || static_cast<std::size_t>(*position) > outputs_.size())
        RaiseSql(SqlError::OrderBySyntax);
    return outputs_[static_cast<std::size_t>(*position) - 1].value->Clone();
}

std::string SelectList::TextOf(const Node& node) const {
    return node.end > node.start ? select_.text->substr(node.start, node.end - node.start) : node.name;
}

}  // namespace marrowkit::dao::sql
