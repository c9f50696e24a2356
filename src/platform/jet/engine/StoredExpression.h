#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/engine/Schema.h"
#include "platform/jet/expression/Expression.h"

namespace marrowkit::jet {

// Default values and validation rules as a table's properties keep them. They are compiled when they are
// needed first. A text that cannot be understood throws then, and each time again: the table can be read,
// only what depends on the text is refused.

/// The default value of a column.
class StoredDefault {
public:
    StoredDefault() = default;
    StoredDefault(JetVersion version, std::string text) : version_(version), text_(std::move(text)) {}

    explicit operator bool() const { return !text_.empty(); }
    /// Not converted to the column's type. REQUIRES: there is one.
    Value Evaluate() const;

private:
    JetVersion version_ = JetVersion::Jet4;
    std::string text_;
    mutable std::optional<expression::Expression> compiled_;
};

/// The validation rule of a column or of a table.
class StoredRule {
public:
    StoredRule() = default;
    /// `column`: position of the column whose rule it is; nothing for a table's.
    StoredRule(JetVersion version, std::string text, std::optional<std::size_t> column)
        : version_(version), text_(std::move(text)), column_(column) {}

    explicit operator bool() const { return !text_.empty(); }
    const std::string& Text() const { return text_; }
    /// `valueOf` gives the row's value at a position of `columns`. REQUIRES: there is a rule.
    bool Accepts(const std::vector<Column>& columns,
                 const std::function<const Value&(std::size_t)>& valueOf) const;

private:
    void Compile(const std::vector<Column>& columns) const;

    JetVersion version_ = JetVersion::Jet4;
    std::string text_;
    std::optional<std::size_t> column_;
    mutable std::optional<expression::ValidationRule> compiled_;
    mutable std::vector<std::size_t> used_;  ///< positions of the columns the rule names; its slots
    mutable Row values_;
};

}  // namespace marrowkit::jet
