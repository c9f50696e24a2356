#include "platform/jet/expression/Parser.h"

#include <algorithm>
#include <array>

#include "platform/jet/expression/Characters.h"
#include "platform/jet/expression/ClauseWords.h"
#include "platform/jet/expression/Subquery.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::expression {
namespace {

/// Each level costs a few stack frames of the parser.
constexpr int kMaxNesting = 250;

constexpr int kNotStrength = 6;
constexpr int kComparisonStrength = 7;
constexpr int kUnaryStrength = 13;

struct Infix {
    std::string_view text;
    Operator op;
    int strength;
};

constexpr std::array kInfixes{
    Infix{"Imp", Operator::Imp, 1},
    Infix{"Eqv", Operator::Eqv, 2},
    Infix{"Xor", Operator::Xor, 3},
    Infix{"Or", Operator::Or, 4},
    Infix{"And", Operator::And, 5},
    Infix{"=", Operator::Equal, kComparisonStrength},
    Infix{"<>", Operator::NotEqual, kComparisonStrength},
    Infix{"<", Operator::Less, kComparisonStrength},
    Infix{">", Operator::Greater, kComparisonStrength},
    Infix{"<=", Operator::LessOrEqual, kComparisonStrength},
    Infix{">=", Operator::GreaterOrEqual, kComparisonStrength},
    Infix{"&", Operator::Concatenate, 8},
    Infix{"+", Operator::Add, 9},
    Infix{"-", Operator::Subtract, 9},
    Infix{"Mod", Operator::Modulo, 10},
    Infix{"\\", Operator::IntegerDivide, 11},
    Infix{"*", Operator::Multiply, 12},
    Infix{"/", Operator::Divide, 12},
    Infix{"^", Operator::Power, 14},
};

const Infix* FindInfix(const Token& token) {
    if (token.kind != TokenKind::Name && token.kind != TokenKind::Symbol) return nullptr;
    const auto* found = std::find_if(kInfixes.begin(), kInfixes.end(),
                                     [&](const Infix& infix) { return SameName(token.text, infix.text); });
    return found == kInfixes.end() ? nullptr : found;
}

/// The word of an operator cannot be a name without brackets.
bool IsOperatorWord(const Token& token) {
    static constexpr std::array<std::string_view, 5> kOthers{"Not", "Like", "Between", "In", "Is"};
    if (token.kind != TokenKind::Name) return false;
    if (FindInfix(token)) return true;
    return std::any_of(kOthers.begin(), kOthers.end(),
                       [&](std::string_view word) { return SameName(token.text, word); });
}

NodePtr MakeLiteral(jet::Value value, const Token& token) {
    auto node = std::make_unique<Node>(NodeKind::Literal);
    node->value = std::move(value);
    node->start = token.start;
    node->end = token.end;
    return node;
}

}  // namespace

NodePtr Parser::ParseExpression() {
    if (nesting_ == 0) start_ = tokens_->Position();
    NodePtr node = ParseBinary(0);
    if (nesting_ == 0) CheckEnd();
    return node;
}

NodePtr Parser::ParseRule() {
    rule_ = true;
    NodePtr node = ParseExpression();
    if (tokens_->IsSymbol(")")) Fail("Extra )");
    if (!tokens_->AtEnd()) Fail("Syntax error");
    return node;
}

NodePtr Parser::ParseTerm() {
    start_ = tokens_->Position();
    return ParseBinary(kUnaryStrength);
}

/// What follows an expression must not look like one more operand.
void Parser::CheckEnd() const {
    const Token& next = tokens_->Peek();
    switch (next.kind) {
        case TokenKind::End:
        case TokenKind::Symbol:
            if (next.kind == TokenKind::End ||
                std::string_view(",);").find(next.text) != std::string_view::npos)
                return;
            Fail("Syntax error (missing operator)");
        case TokenKind::Name:
            if (IsClauseWord(next)) return;
            Fail("Syntax error (missing operator)");
        case TokenKind::BracketedName:
        case TokenKind::Literal:
            Fail("Syntax error (missing operator)");
        default:
            FailHere();
    }
}

NodePtr Parser::ParseBinary(int weakest) {
    if (outerNesting_ + ++nesting_ > kMaxNesting) jet::RaiseJet(jet::JetError::TooComplex);
    NodePtr left = ParseOperand();
    if (rule_ && weakest <= kComparisonStrength) left = ParseComparison(std::move(left));
    for (;;) {
        if (weakest <= kComparisonStrength) left = ParseComparison(std::move(left));
        const Infix* infix = FindInfix(tokens_->Peek());
        if (!infix || infix->strength < weakest) break;
        tokens_->Take();
        if (rule_ && infix->strength < kNotStrength) left = CompleteRule(std::move(left));
        NodePtr right = ParseBinary(infix->strength + 1);
        if (rule_ && infix->strength < kNotStrength) right = CompleteRule(std::move(right));
        auto node = std::make_unique<Node>(NodeKind::Binary);
        node->op = infix->op;
        node->start = left->start;
        node->end = right->end;
        node->Add(std::move(left));
        node->Add(std::move(right));
        left = std::move(node);
    }
    --nesting_;
    if (rule_ && nesting_ == 0) left = CompleteRule(std::move(left));
    return left;
}

/// Like, Between, In and Is with their Not, as often as they follow.
NodePtr Parser::ParseComparison(NodePtr left) {
    for (;;) {
        if (tokens_->IsKeyword("Is")) {
            left = ParseIs(std::move(left));
            continue;
        }
        const bool negated = tokens_->IsKeyword("Not");
        const std::size_t ahead = negated ? 1 : 0;
        if (tokens_->IsKeyword("Like", ahead)) {
            left = ParseLike(std::move(left), negated);
        } else if (tokens_->IsKeyword("Between", ahead)) {
            left = ParseBetween(std::move(left), negated);
        } else if (tokens_->IsKeyword("In", ahead)) {
            left = ParseIn(std::move(left), negated);
        } else {
            return left;
        }
    }
}

NodePtr Parser::ParseIs(NodePtr left) {
    tokens_->Take();
    auto node = std::make_unique<Node>(NodeKind::IsNull);
    node->negated = tokens_->TakeKeyword("Not");
    if (!tokens_->IsKeyword("Null")) FailHere();
    node->start = left->start;
    node->end = tokens_->Take().end;
    node->Add(std::move(left));
    return node;
}

NodePtr Parser::ParseLike(NodePtr left, bool negated) {
    if (negated) tokens_->Take();
    tokens_->Take();
    auto node = std::make_unique<Node>(NodeKind::Binary);
    node->op = Operator::Like;
    node->negated = negated;
    node->start = left->start;
    node->Add(std::move(left));
    node->Add(ParseBinary(kComparisonStrength + 1));
    node->end = node->children[1]->end;
    return node;
}

NodePtr Parser::ParseBetween(NodePtr left, bool negated) {
    if (negated) tokens_->Take();
    tokens_->Take();
    auto node = std::make_unique<Node>(NodeKind::Between);
    node->negated = negated;
    node->start = left->start;
    node->Add(std::move(left));
    node->Add(ParseBinary(kComparisonStrength + 1));
    if (!tokens_->TakeKeyword("And")) Fail("Between operator without And");
    node->Add(ParseBinary(kComparisonStrength + 1));
    node->end = node->children[2]->end;
    return node;
}

NodePtr Parser::ParseIn(NodePtr left, bool negated) {
    if (negated) tokens_->Take();
    tokens_->Take();
    if (!tokens_->TakeSymbol("(")) Fail("In operator without ()");
    auto node = std::make_unique<Node>(NodeKind::In);
    node->negated = negated;
    node->start = left->start;
    node->Add(std::move(left));
    if (NodePtr subquery = TakeSubquery()) {
        node->Add(std::move(subquery));
    } else {
        do {
            node->Add(ParseBinary(0));
        } while (tokens_->TakeSymbol(","));
    }
    if (!tokens_->IsSymbol(")")) FailHere();
    node->end = tokens_->Take().end;
    return node;
}

/// A SELECT behind a parenthesis; null when something else comes.
NodePtr Parser::TakeSubquery() {
    const auto reader = tokens_->ReaderOfSubqueries();
    if (reader == nullptr || !tokens_->IsKeyword("SELECT")) return nullptr;
    auto node = std::make_unique<Node>(NodeKind::Subquery);
    node->start = tokens_->Take().start;
    tokens_->SetNesting(outerNesting_ + nesting_);
    node->subquery = reader(*tokens_);
    tokens_->SetNesting(outerNesting_);
    node->depth = static_cast<std::uint16_t>(node->subquery->Depth() + 1);
    tokens_->TakeSymbol(";");
    node->end = tokens_->Peek().start;
    return node;
}

bool Parser::RuleLacksLeftSide() const {
    const Infix* infix = FindInfix(tokens_->Peek());
    if (infix) return IsComparison(infix->op);
    const std::size_t ahead = tokens_->IsKeyword("Not") ? 1 : 0;
    return tokens_->IsKeyword("Like", ahead) || tokens_->IsKeyword("Between", ahead) ||
           tokens_->IsKeyword("In", ahead) || (ahead == 0 && tokens_->IsKeyword("Is"));
}

/// In a rule a bare value stands for "equal to the value": `"M" Or "F"`.
NodePtr Parser::CompleteRule(NodePtr node) const {
    const bool bare = node->kind == NodeKind::Literal && !std::holds_alternative<bool>(node->value);
    if (!bare) return node;
    auto comparison = std::make_unique<Node>(NodeKind::Binary);
    comparison->op = Operator::Equal;
    comparison->Add(std::make_unique<Node>(NodeKind::Implied));
    comparison->Add(std::move(node));
    return comparison;
}

NodePtr Parser::ParseOperand() {
    if (rule_ && RuleLacksLeftSide()) return std::make_unique<Node>(NodeKind::Implied);
    const Token& token = tokens_->Peek();
    switch (token.kind) {
        case TokenKind::Literal: {
            tokens_->Take();
            return MakeLiteral(token.value, token);
        }
        case TokenKind::Symbol:
            if (token.text == "(") return ParseParenthesis();
            if (token.text == "-" || token.text == "+") return ParsePrefix();
            FailHere();
        case TokenKind::Name:
            if (SameName(token.text, "Not")) return ParsePrefix();
            return ParseNameOrCall();
        case TokenKind::BracketedName:
            return ParseNameOrCall();
        default:
            FailHere();
    }
}

NodePtr Parser::ParsePrefix() {
    const Token& token = tokens_->Take();
    if (token.text == "+") return ParseBinary(kUnaryStrength);
    const bool negation = token.text == "-";
    auto node = std::make_unique<Node>(negation ? NodeKind::Negate : NodeKind::Not);
    node->start = token.start;
    NodePtr operand = ParseBinary(negation ? kUnaryStrength : kNotStrength);
    if (rule_ && !negation) operand = CompleteRule(std::move(operand));
    node->end = operand->end;
    // A negative number is a value of its own, for rules and for index bounds.
    if (negation && operand->kind == NodeKind::Literal) {
        if (const auto* whole = std::get_if<std::int32_t>(&operand->value)) {
            operand->value = -*whole;
            operand->start = node->start;
            return operand;
        }
        if (const auto* number = std::get_if<double>(&operand->value)) {
            operand->value = *number == 2147483648.0 ? jet::Value(std::int32_t{-2147483647 - 1}) : -*number;
            operand->start = node->start;
            return operand;
        }
    }
    node->Add(std::move(operand));
    return node;
}

NodePtr Parser::ParseParenthesis() {
    const Token& open = tokens_->Take();
    const std::size_t start = open.start;
    NodePtr node = TakeSubquery();
    if (!node) node = ParseBinary(0);
    if (!tokens_->IsSymbol(")")) FailHere();
    node->start = start;
    node->end = tokens_->Take().end;
    return node;
}

NodePtr Parser::ParseNameOrCall() {
    const Token& token = tokens_->Peek();
    const bool plain = token.kind == TokenKind::Name;
    const bool call = tokens_->IsSymbol("(", 1);
    if (plain && !call && (IsClauseWord(token) && !SameName(token.text, "On"))) FailHere();
    if (plain && IsOperatorWord(token)) FailHere();
    tokens_->Take();
    if (plain && call) return ParseCall(token);
    if (plain && SameName(token.text, "True")) return MakeLiteral(true, token);
    if (plain && SameName(token.text, "False")) return MakeLiteral(false, token);
    if (plain && SameName(token.text, "Null")) return MakeLiteral(jet::Null{}, token);
    auto node = std::make_unique<Node>(NodeKind::Name);
    node->name = token.text;
    node->bracketed = !plain;
    node->start = token.start;
    node->end = token.end;
    while (tokens_->IsSymbol(".") || tokens_->IsSymbol("!")) {
        tokens_->Take();
        const Token& part = tokens_->Peek();
        if (part.kind != TokenKind::Name && part.kind != TokenKind::BracketedName) FailHere();
        tokens_->Take();
        node->qualifier += (node->qualifier.empty() ? "" : ".") + node->name;
        node->name = part.text;
        node->bracketed = true;
        node->end = part.end;
    }
    return node;
}

NodePtr Parser::ParseCall(const Token& name) {
    tokens_->Take();
    auto node = std::make_unique<Node>(NodeKind::Call);
    node->name = name.text;
    node->start = name.start;
    if (tokens_->IsSymbol("*") && tokens_->IsSymbol(")", 1)) {
        tokens_->Take();
        node->star = true;
    } else if (!tokens_->IsSymbol(")")) {
        do {
            node->Add(ParseBinary(0));
        } while (tokens_->TakeSymbol(","));
    }
    if (!tokens_->IsSymbol(")")) FailHere();
    node->end = tokens_->Take().end;
    node->text = tokens_->Source().substr(node->start, node->end - node->start);
    return node;
}

}  // namespace marrowkit::expression
