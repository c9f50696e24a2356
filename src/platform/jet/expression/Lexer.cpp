#include "platform/jet/expression/Lexer.h"

#include <array>
#include <charconv>
#include <limits>
#include <optional>

#include "platform/jet/expression/Calendar.h"
#include "platform/jet/expression/Characters.h"

namespace marrowkit::expression {
namespace {

bool IsNameStart(char c) {
    return IsAsciiLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool IsNamePart(char c) {
    return IsNameStart(c) || IsAsciiDigit(c) || c == '$';
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v';
}

class Scanner {
public:
    explicit Scanner(std::string_view source) : source_(source) {}

    std::vector<Token> Run() {
        std::vector<Token> tokens;
        do {
            tokens.push_back(Next());
        } while (tokens.back().kind != TokenKind::End);
        return tokens;
    }

private:
    char At(std::size_t position) const { return position < source_.size() ? source_[position] : '\0'; }

    Token Next() {
        while (at_ < source_.size() && IsBlank(source_[at_])) ++at_;
        Token token;
        token.start = at_;
        if (at_ < source_.size()) Scan(token);
        token.end = at_;
        return token;
    }

    void Scan(Token& token) {
        const char c = source_[at_];
        if (c == '"' || c == '\'') return ScanText(token, c);
        if (c == '#') return ScanDate(token);
        if (c == '[') return ScanBracket(token);
        if (IsAsciiDigit(c) || (c == '.' && IsAsciiDigit(At(at_ + 1)))) return ScanNumber(token);
        if (c == '&' && ScanRadix(token)) return;
        if (IsNameStart(c)) return ScanName(token);
        ScanSymbol(token);
    }

    void ScanText(Token& token, char quote) {
        std::string text;
        for (++at_; at_ < source_.size(); ++at_) {
            if (source_[at_] != quote) {
                text += source_[at_];
            } else if (At(at_ + 1) == quote) {
                text += quote;
                ++at_;
            } else {
                ++at_;
                token.kind = TokenKind::Literal;
                token.value = std::move(text);
                return;
            }
        }
        token.kind = TokenKind::BadText;
    }

    void ScanDate(Token& token) {
        const std::size_t close = source_.find('#', at_ + 1);
        token.kind = TokenKind::BadDate;
        if (close == std::string_view::npos) {
            at_ = source_.size();
            return;
        }
        const auto date = ParseDate(source_.substr(at_ + 1, close - at_ - 1));
        at_ = close + 1;
        if (!date) return;
        token.kind = TokenKind::Literal;
        token.value = *date;
    }

    void ScanBracket(Token& token) {
        const std::size_t close = source_.find(']', at_ + 1);
        if (close == std::string_view::npos || close == at_ + 1) {
            token.kind = TokenKind::BadBracket;
            at_ = close == std::string_view::npos ? source_.size() : close + 1;
            return;
        }
        token.kind = TokenKind::BracketedName;
        token.text = source_.substr(at_ + 1, close - at_ - 1);
        at_ = close + 1;
    }

    void ScanNumber(Token& token) {
        const std::size_t start = at_;
        bool whole = true;
        while (IsAsciiDigit(At(at_))) ++at_;
        if (At(at_) == '.') {
            whole = false;
            ++at_;
            while (IsAsciiDigit(At(at_))) ++at_;
        }
        if (ScanExponent()) whole = false;
        const std::string_view digits = source_.substr(start, at_ - start);
        token.kind = TokenKind::Literal;
        std::int32_t small = 0;
        if (whole && std::from_chars(digits.data(), digits.data() + digits.size(), small).ec == std::errc{}) {
            token.value = small;
            return;
        }
        double number = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (error == std::errc{})
            token.value = number;
        else
            token.kind = TokenKind::BadNumber;
    }

    bool ScanExponent() {
        if (At(at_) != 'e' && At(at_) != 'E') return false;
        std::size_t digit = at_ + 1;
        if (At(digit) == '+' || At(digit) == '-') ++digit;
        if (!IsAsciiDigit(At(digit))) return false;
        at_ = digit;
        while (IsAsciiDigit(At(at_))) ++at_;
        return true;
    }

    /// &H1F and &O17; like the language, these win over the concatenation of a name that begins this way.
    bool ScanRadix(Token& token) {
        const char letter = ToAsciiUpper(At(at_ + 1));
        if (letter != 'H' && letter != 'O') return false;
        const int radix = letter == 'H' ? 16 : 8;
        const char* first = source_.data() + at_ + 2;
        const char* last = source_.data() + source_.size();
        std::uint32_t number = 0;
        const auto [end, error] = std::from_chars(first, last, number, radix);
        if (end == first || (end != last && IsNamePart(*end))) return false;
        at_ = static_cast<std::size_t>(end - source_.data());
        token.kind = error == std::errc{} ? TokenKind::Literal : TokenKind::BadNumber;
        // Four digits are an Integer: &HFFFF is -1.
        if (number > 0x7FFF && number <= 0xFFFF)
            token.value = static_cast<std::int32_t>(static_cast<std::int16_t>(number));
        else
            token.value = static_cast<std::int32_t>(number);
        return true;
    }

    void ScanName(Token& token) {
        const std::size_t start = at_;
        while (at_ < source_.size() && IsNamePart(source_[at_])) ++at_;
        token.kind = TokenKind::Name;
        token.text = source_.substr(start, at_ - start);
    }

    void ScanSymbol(Token& token) {
        static constexpr std::array<std::string_view, 7> kTwoCharacters{"<=", ">=", "<>", "=<",
                                                                        "=>", "><", "!="};
        token.kind = TokenKind::Symbol;
        const std::string_view two = source_.substr(at_, 2);
        for (const std::string_view symbol : kTwoCharacters) {
            if (two != symbol) continue;
            token.text = symbol;
            if (symbol == "=<") token.text = "<=";
            if (symbol == "=>") token.text = ">=";
            if (symbol == "><" || symbol == "!=") token.text = "<>";
            at_ += 2;
            return;
        }
        if (std::string_view("+-*/\\^&=<>(),.;!").find(source_[at_]) == std::string_view::npos)
            token.kind = TokenKind::BadCharacter;
        token.text = source_[at_++];
    }

    std::string_view source_;
    std::size_t at_ = 0;
};

}  // namespace

std::vector<Token> Tokenize(std::string_view source) {
    return Scanner(source).Run();
}

}  // namespace marrowkit::expression
