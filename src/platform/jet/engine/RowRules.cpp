#include "platform/jet/engine/RowRules.h"

#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

bool Holds(const StoredRule& rule, const TableLayout& layout, RowDraft& draft) {
    return rule.Accepts(layout.columns,
                        [&draft](std::size_t column) -> const Value& { return draft[column]; });
}

}  // namespace

void CheckColumnRules(const TableLayout& layout, RowDraft& draft, std::size_t column) {
    const Column& rules = layout.columns[column];
    const Value& value = draft[column];
    if (rules.required && IsNull(value)) RaiseJet(JetError::RequiredField, {rules.name});
    if (!rules.allowZeroLength) {
        const auto* text = std::get_if<std::string>(&value);
        if (text != nullptr && text->empty()) RaiseJet(JetError::ZeroLength, {rules.name});
    }
    if (const StoredRule& rule = layout.storage[column].rule; rule && !Holds(rule, layout, draft)) {
        if (!rules.validationText.empty()) {
            throw RuntimeError(static_cast<int>(JetError::FieldRule), rules.validationText);
        }
        RaiseJet(JetError::FieldRule, {rules.validationRule, rules.name});
    }
}

void CheckTableRule(const TableLayout& layout, RowDraft& draft) {
    if (!layout.rule || Holds(layout.rule, layout, draft)) return;
    if (!layout.ruleMessage.empty()) {
        throw RuntimeError(static_cast<int>(JetError::TableRule), layout.ruleMessage);
    }
    RaiseJet(JetError::TableRule, {layout.rule.Text()});
}

Value EvaluateDefault(const TableLayout& layout, std::size_t column) {
    const StoredDefault& expression = layout.storage[column].defaultValue;
    if (!expression) return Null{};
    return ConvertFor(layout.columns[column], expression.Evaluate());
}

}  // namespace marrowkit::jet
