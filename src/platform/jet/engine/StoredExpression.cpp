#include "platform/jet/engine/StoredExpression.h"

#include <algorithm>

#include "platform/jet/format/Collation.h"

namespace marrowkit::jet {

Value StoredDefault::Evaluate() const {
    if (!compiled_) compiled_ = expression::CompileDefault(text_, version_);
    return compiled_->Evaluate(Row{});
}

void StoredRule::Compile(const std::vector<Column>& columns) const {
    used_.clear();
    const auto slotOf = [&](std::size_t position) {
        const auto found = std::find(used_.begin(), used_.end(), position);
        if (found != used_.end()) return static_cast<std::size_t>(found - used_.begin());
        used_.push_back(position);
        return used_.size() - 1;
    };
    const auto bind = [&](std::size_t position) {
        return expression::BoundName{slotOf(position), columns[position].type};
    };
    const auto resolve = [&](std::string_view,
                             std::string_view name) -> std::optional<expression::BoundName> {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (CompareText(version_, columns[i].name, name) == 0) return bind(i);
        }
        return std::nullopt;
    };
    std::optional<expression::BoundName> implied;
    if (column_) implied = bind(*column_);
    compiled_.emplace(text_, resolve, implied, version_);
}

bool StoredRule::Accepts(const std::vector<Column>& columns,
                         const std::function<const Value&(std::size_t)>& valueOf) const {
    if (!compiled_) Compile(columns);
    values_.resize(used_.size());
    for (std::size_t i = 0; i < used_.size(); ++i) values_[i] = valueOf(used_[i]);
    return compiled_->Accepts(values_);
}

}  // namespace marrowkit::jet
