#include <limits>

#include "platform/dao/sql/SqlErrors.h"
#include "platform/dao/sql/StatementParser.h"
#include "platform/jet/expression/ClauseWords.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

using expression::Token;
using expression::TokenKind;
using expression::TokenStream;
using jet::JetError;
using jet::RaiseJet;

/// Joins and subqueries nest; each level costs stack.
constexpr int kMaxNesting = 50;

class SelectParser {
public:
    explicit SelectParser(TokenStream& tokens, int nesting = 0) : tokens_(&tokens), nesting_(nesting) {}

    /// One SELECT with the unions behind it.
    Select Run() {
        Select select = ParseCore();
        while (tokens_->TakeKeyword("UNION")) {
            const bool all = tokens_->TakeKeyword("ALL");
            if (!tokens_->TakeKeyword("SELECT")) RaiseJet(JetError::SelectSyntax);
            select.unions.push_back(std::make_unique<Select>(ParseCore()));
            select.unions.back()->unionAll = all;
        }
        // Behind the last of several selects, ORDER BY is for all of them.
        if (!select.unions.empty()) select.orderBy = std::move(select.unions.back()->orderBy);
        return select;
    }

private:
    Select ParseCore() {
        Select select;
        select.text = std::make_shared<const std::string>(tokens_->Source());
        ParseQuantifiers(select);
        ParseItems(select);
        if (tokens_->TakeKeyword("INTO")) {
            select.into = TakeName(*tokens_);
            if (select.into.empty()) RaiseJet(JetError::SelectSyntax);
        }
        if (tokens_->TakeKeyword("FROM")) ParseFrom(select);
        select.where = ParseWhere(*tokens_);
        if (tokens_->TakeKeyword("GROUP")) ParseGroupBy(select);
        if (tokens_->TakeKeyword("HAVING")) {
            if (tokens_->AtEnd()) RaiseSql(SqlError::HavingSyntax);
            select.having = ParseValue();
        }
        if (tokens_->TakeKeyword("ORDER")) ParseOrderBy(select);
        if (tokens_->TakeKeyword("WITH")) {
            if (!tokens_->TakeKeyword("OWNERACCESS") || !tokens_->TakeKeyword("OPTION"))
                RaiseJet(JetError::FromSyntax);
        }
        return select;
    }

    NodePtr ParseValue() { return expression::Parser(*tokens_).ParseExpression(); }

    /// ALL, DISTINCT, DISTINCTROW and TOP n [PERCENT].
    void ParseQuantifiers(Select& select) {
        if (!tokens_->TakeKeyword("ALL")) {
            select.distinct = tokens_->TakeKeyword("DISTINCT");
            if (!select.distinct) select.distinctRow = tokens_->TakeKeyword("DISTINCTROW");
        }
        if (!tokens_->IsKeyword("TOP")) return;
        const Token& count = tokens_->Peek(1);
        const auto* number =
            count.kind == TokenKind::Literal ? std::get_if<std::int32_t>(&count.value) : nullptr;
        if (!number) return;
        select.top = *number;
        tokens_->Take();
        tokens_->Take();
        select.topPercent = tokens_->TakeKeyword("PERCENT");
        if (select.topPercent && *select.top > 100) RaiseJet(JetError::SelectSyntax);
    }

    bool AtListEnd() const {
        const Token& token = tokens_->Peek();
        return token.kind == TokenKind::End || tokens_->IsSymbol(",") || tokens_->IsSymbol(";") ||
               tokens_->IsSymbol(")") || tokens_->IsKeyword("FROM") || tokens_->IsKeyword("INTO");
    }

    /// A word of the language where a value should begin. Some are functions, too, and On is a constant.
    bool AtReservedWord() const {
        return expression::IsClauseWord(tokens_->Peek()) && !tokens_->IsKeyword("ON") &&
               !tokens_->IsSymbol("(", 1);
    }

    void ParseItems(Select& select) {
        do {
            if (AtListEnd() || AtReservedWord()) RaiseJet(JetError::SelectSyntax);
            SelectItem item;
            if (tokens_->TakeSymbol("*") || TakeTableStar(item)) {
                if (!AtListEnd()) RaiseJet(JetError::SelectSyntax);
            } else {
                item.value = ParseValue();
                if (tokens_->TakeKeyword("AS")) {
                    item.alias = TakeName(*tokens_);
                    if (item.alias.empty()) RaiseJet(JetError::SelectSyntax);
                    if (!AtListEnd()) RaiseJet(JetError::SelectSyntax);
                }
            }
            select.items.push_back(std::move(item));
        } while (tokens_->TakeSymbol(","));
    }

    /// Games.*
    bool TakeTableStar(SelectItem& item) {
        const TokenKind kind = tokens_->Peek().kind;
        const bool dotted = tokens_->IsSymbol(".", 1) || tokens_->IsSymbol("!", 1);
        if ((kind != TokenKind::Name && kind != TokenKind::BracketedName) || !dotted ||
            !tokens_->IsSymbol("*", 2))
            return false;
        item.starTable = tokens_->Take().text;
        tokens_->Take();
        tokens_->Take();
        return true;
    }

    void ParseFrom(Select& select) {
        do {
            select.from.push_back(ParseJoins());
        } while (tokens_->TakeSymbol(","));
        if (!AtClauseEnd()) RaiseJet(JetError::FromSyntax);
    }

    bool AtClauseEnd() const {
        static constexpr std::string_view kClauses[] = {"WHERE", "GROUP", "HAVING", "ORDER", "UNION", "WITH"};
        if (tokens_->AtEnd() || tokens_->IsSymbol(";") || tokens_->IsSymbol(")")) return true;
        for (const std::string_view clause : kClauses)
            if (tokens_->IsKeyword(clause)) return true;
        return false;
    }

    /// A place and the joins that follow it, from left to right.
    std::unique_ptr<Source> ParseJoins() {
        if (++nesting_ > kMaxNesting) RaiseJet(JetError::TooComplex);
        std::unique_ptr<Source> left = ParsePlace();
        for (;;) {
            const auto kind = TakeJoinWords();
            if (!kind) break;
            auto join = std::make_unique<Source>();
            join->kind = *kind;
            join->left = std::move(left);
            join->right = ParsePlace();
            if (!tokens_->TakeKeyword("ON")) RaiseSql(SqlError::JoinSyntax);
            join->on = ParseValue();
            left = std::move(join);
        }
        --nesting_;
        return left;
    }

    std::optional<Source::Kind> TakeJoinWords() {
        const bool left = tokens_->IsKeyword("LEFT");
        const bool right = tokens_->IsKeyword("RIGHT");
        if (left || right) {
            tokens_->Take();
            tokens_->TakeKeyword("OUTER");
        } else if (!tokens_->TakeKeyword("INNER")) {
            if (!tokens_->TakeKeyword("JOIN")) return std::nullopt;
            return Source::Kind::InnerJoin;
        }
        if (!tokens_->TakeKeyword("JOIN")) RaiseJet(JetError::FromSyntax);
        if (left) return Source::Kind::LeftJoin;
        return right ? Source::Kind::RightJoin : Source::Kind::InnerJoin;
    }

    std::unique_ptr<Source> ParsePlace() {
        auto place = std::make_unique<Source>();
        if (tokens_->TakeSymbol("(")) {
            if (tokens_->TakeKeyword("SELECT")) {
                if (nesting_ > kMaxNesting) RaiseJet(JetError::TooComplex);
                place->kind = Source::Kind::Subquery;
                place->subquery = std::make_unique<Select>(SelectParser(*tokens_, nesting_ + 1).Run());
                tokens_->TakeSymbol(";");
            } else {
                place = ParseJoins();
            }
            if (!tokens_->TakeSymbol(")")) RaiseJet(JetError::FromSyntax);
            if (place->kind != Source::Kind::Subquery) return place;
        } else {
            place->table = TakeName(*tokens_);
            if (place->table.empty()) RaiseJet(JetError::FromSyntax);
        }
        ParseAlias(*place);
        return place;
    }

    void ParseAlias(Source& place) {
        const bool as = tokens_->TakeKeyword("AS");
        if (as || !AtClauseEnd()) place.alias = TakeName(*tokens_);
        if (as && place.alias.empty()) RaiseJet(JetError::FromSyntax);
        if (place.alias.empty()) place.alias = place.table;
    }

    void ParseGroupBy(Select& select) {
        if (!tokens_->TakeKeyword("BY")) RaiseSql(SqlError::GroupBySyntax);
        do {
            if (AtListEnd()) RaiseSql(SqlError::GroupBySyntax);
            select.groupBy.push_back(ParseValue());
        } while (tokens_->TakeSymbol(","));
    }

    void ParseOrderBy(Select& select) {
        if (!tokens_->TakeKeyword("BY")) RaiseSql(SqlError::OrderBySyntax);
        do {
            if (AtListEnd()) RaiseSql(SqlError::OrderBySyntax);
            OrderItem item;
            item.value = ParseValue();
            item.descending = tokens_->TakeKeyword("DESC");
            if (!item.descending) tokens_->TakeKeyword("ASC");
            select.orderBy.push_back(std::move(item));
        } while (tokens_->TakeSymbol(","));
    }

    TokenStream* tokens_;
    int nesting_;
};

}  // namespace

Select ParseSelect(TokenStream& tokens) {
    return SelectParser(tokens, tokens.Nesting()).Run();
}

}  // namespace marrowkit::dao::sql
