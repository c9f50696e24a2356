#include "platform/jet/expression/Expression.h"

#include "platform/jet/expression/Binder.h"
#include "platform/jet/expression/Evaluator.h"
#include "platform/jet/expression/Parser.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::expression {
namespace {

std::string_view WithoutEqualSign(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start != std::string_view::npos && text[start] == '=') return text.substr(start + 1);
    return text;
}

}  // namespace

Expression::Expression(NodePtr parsed, const Binding& binding)
    : root_(Bind(std::move(parsed), binding)), version_(binding.version) {}

jet::Value Expression::Evaluate(const jet::Row& row) const {
    jet::Value scratch;
    const jet::Value& value = EvaluateNode(*root_, row, version_, scratch);
    if (&value != &scratch) return value;
    return scratch;
}

const jet::Value& Expression::Evaluate(const jet::Row& row, jet::Value& scratch) const {
    return EvaluateNode(*root_, row, version_, scratch);
}

Truth Expression::Test(const jet::Row& row) const {
    return TestNode(*root_, row, version_);
}

Expression CompileExpression(std::string_view text, const Binding& binding) {
    TokenStream tokens(WithoutEqualSign(text));
    Parser parser(tokens, ErrorStyle::Plain);
    NodePtr node = parser.ParseExpression();
    if (tokens.IsSymbol(")")) parser.Fail("Extra )", 0);
    if (!tokens.AtEnd()) parser.Fail("Syntax error", 0);
    return {std::move(node), binding};
}

Expression CompileDefault(std::string_view text, jet::JetVersion version) {
    Binding binding;
    binding.version = version;
    return CompileExpression(text, binding);
}

ValidationRule::ValidationRule(std::string_view rule, const NameResolver& resolve,
                               std::optional<BoundName> column, jet::JetVersion version) {
    TokenStream tokens(rule);
    Parser parser(tokens, ErrorStyle::Plain);
    Binding binding;
    binding.version = version;
    binding.resolve = resolve;
    binding.implied = column;
    expression_ = Expression(column ? parser.ParseRule() : parser.ParseExpression(), binding);
    if (!tokens.AtEnd()) parser.Fail("Syntax error", 0);
}

}  // namespace marrowkit::expression
