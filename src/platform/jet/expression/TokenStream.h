#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/expression/Lexer.h"

namespace marrowkit::expression {

class Subquery;

/// The tokens of one statement or expression, and a place among them.
class TokenStream {
public:
    /// Reads a SELECT inside an expression, behind that word.
    using SubqueryReader = std::shared_ptr<const Subquery> (*)(TokenStream&);

    explicit TokenStream(std::string_view source) : source_(source), tokens_(Tokenize(source_)) {}

    const Token& Peek(std::size_t ahead = 0) const;
    const Token& Take();
    std::size_t Position() const { return at_; }
    void Return(std::size_t position) { at_ = position; }

    bool AtEnd() const { return Peek().kind == TokenKind::End; }
    /// Keywords are unbracketed names, in either case.
    bool IsKeyword(std::string_view word, std::size_t ahead = 0) const;
    bool TakeKeyword(std::string_view word);
    bool IsSymbol(std::string_view symbol, std::size_t ahead = 0) const;
    bool TakeSymbol(std::string_view symbol);

    const std::string& Source() const { return source_; }

    /// Null where expressions cannot have subqueries: outside of statements.
    SubqueryReader ReaderOfSubqueries() const { return readSubquery_; }
    void AllowSubqueries(SubqueryReader reader) { readSubquery_ = reader; }
    /// How deep what is read now is nested in what stands around it. Each level costs stack.
    int Nesting() const { return nesting_; }
    void SetNesting(int nesting) { nesting_ = nesting; }

private:
    std::string source_;
    std::vector<Token> tokens_;
    std::size_t at_ = 0;
    SubqueryReader readSubquery_ = nullptr;
    int nesting_ = 0;
};

}  // namespace marrowkit::expression
