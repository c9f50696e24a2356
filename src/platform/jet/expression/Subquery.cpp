#include "platform/jet/expression/Subquery.h"

#include <algorithm>

#include "platform/jet/expression/Expression.h"
#include "platform/jet/expression/Operators.h"

namespace marrowkit::expression {

ValueSet::ValueSet(jet::JetVersion version, std::optional<jet::ColumnType> type,
                   std::vector<jet::Value> values)
    : version_(version), type_(type), values_(std::move(values)) {
    hasNull_ = std::erase_if(values_, [](const jet::Value& value) { return jet::IsNull(value); }) > 0;
    std::sort(values_.begin(), values_.end(), [version](const jet::Value& left, const jet::Value& right) {
        return Compare(version, left, right) < 0;
    });
}

Truth ValueSet::Contains(const jet::Value& value) const {
    if (values_.empty() && !hasNull_) return Truth::False;
    if (jet::IsNull(value)) return Truth::Unknown;
    const auto found = std::lower_bound(values_.begin(), values_.end(), value,
                                        [this](const jet::Value& held, const jet::Value& wanted) {
                                            return Compare(version_, held, wanted) < 0;
                                        });
    if (found != values_.end() && Compare(version_, *found, value) == 0) return Truth::True;
    return hasNull_ ? Truth::Unknown : Truth::False;
}

}  // namespace marrowkit::expression
