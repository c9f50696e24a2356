#include "platform/jet/expression/TokenStream.h"

#include <algorithm>

#include "platform/jet/expression/Characters.h"

namespace marrowkit::expression {

const Token& TokenStream::Peek(std::size_t ahead) const {
    return tokens_[std::min(at_ + ahead, tokens_.size() - 1)];
}

const Token& TokenStream::Take() {
    const Token& token = Peek();
    if (at_ + 1 < tokens_.size()) ++at_;
    return token;
}

bool TokenStream::IsKeyword(std::string_view word, std::size_t ahead) const {
    const Token& token = Peek(ahead);
    return token.kind == TokenKind::Name && SameName(token.text, word);
}

bool TokenStream::TakeKeyword(std::string_view word) {
    if (!IsKeyword(word)) return false;
    Take();
    return true;
}

bool TokenStream::IsSymbol(std::string_view symbol, std::size_t ahead) const {
    const Token& token = Peek(ahead);
    return token.kind == TokenKind::Symbol && token.text == symbol;
}

bool TokenStream::TakeSymbol(std::string_view symbol) {
    if (!IsSymbol(symbol)) return false;
    Take();
    return true;
}

}  // namespace marrowkit::expression
