#include "schema/omgidl/Lexer.hpp"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

#include "platform/text/utf8.hpp"
#include "schema/definition/quoted.hpp"

namespace zun::schema {

namespace {

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_word_character(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || is_digit(c);
}

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v';
}

/// The number that all of `digits` spell.
template <typename Number, typename... Format>
std::optional<Number> parsed(std::string_view digits, Format... format) {
    Number value{};
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, format...);
    if (error != std::errc() || stop != end || digits.empty()) return std::nullopt;
    return value;
}

std::optional<Constant> number_value(std::string_view text) {
    std::optional<std::uint64_t> integer;
    if (text.starts_with("0x") || text.starts_with("0X"))
        integer = parsed<std::uint64_t>(text.substr(2), 16);
    else if (text.size() > 1 && text.starts_with('0') && std::all_of(text.begin(), text.end(), is_digit))
        integer = parsed<std::uint64_t>(text, 8);
    else
        integer = parsed<std::uint64_t>(text, 10);
    if (integer) return Integer(*integer);
    if (text.find_first_of("xX") != std::string_view::npos) return std::nullopt;
    if (text.find_first_of(".eE") == std::string_view::npos) return std::nullopt;
    // "d" ends literals of fixed point, "f" those of C.
    if (std::string_view("fFdD").find(text.back()) != std::string_view::npos) text.remove_suffix(1);
    if (const auto number = parsed<double>(text)) return *number;
    return std::nullopt;
}

/// Takes up to `most` digits of `base` off `text`; no literal has more of them than 16 bits hold.
std::uint16_t take_number(std::string_view& text, std::size_t most, int base) {
    std::uint16_t value = 0;
    const std::string_view digits = text.substr(0, most);
    const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    text.remove_prefix(static_cast<std::size_t>(stop - digits.data()));
    return value;
}

/// What the escapes in a literal stand for; of an unknown one the character itself.
std::string unescaped(std::string_view written) {
    constexpr std::string_view letters = "ntvbrfa", meanings = "\n\t\v\b\r\f\a";
    std::string text;
    while (!written.empty()) {
        const std::size_t plain = std::min(written.find('\\'), written.size());
        text += written.substr(0, plain);
        written.remove_prefix(plain);
        if (written.size() < 2) break;
        const char kind = written[1];
        const std::size_t letter = letters.find(kind);
        const bool octal = kind >= '0' && kind <= '7';
        written.remove_prefix(octal ? 1 : 2);
        if (octal)
            append_character(text, take_number(written, 3, 8));
        else if (kind == 'x' || kind == 'u')
            append_character(text, take_number(written, kind == 'x' ? 2 : 4, 16));
        else
            text += letter == std::string_view::npos ? kind : meanings[letter];
    }
    return text;
}

}  // namespace

Token Lexer::next() {
    while (replacement_.empty()) {
        Token token = written();
        // An escaped word is a name of the user's own, which no macro means.
        const bool is_plain = token.kind == Token::Kind::WORD && !token.escaped;
        const std::string* const meaning = is_plain ? preprocessor_.macro(token.text) : nullptr;
        if (!meaning) return token;
        Lexer lexer(*meaning, 1);
        for (Token part = lexer.written(); part.kind != Token::Kind::END; part = lexer.written()) {
            part.position = token.position;
            replacement_.push_back(std::move(part));
        }
    }
    Token token = std::move(replacement_.front());
    replacement_.pop_front();
    return token;
}

/// The next token, macros as they stand.
Token Lexer::written() {
    if (const auto fault = skip_blanks_and_comments()) return broken(fault->position, fault->problem);
    const char c = at();
    if (offset_ == text_.size()) return {.kind = Token::Kind::END, .position = position()};
    if (c == 'L' && (at(1) == '"' || at(1) == '\'')) ++offset_;
    if (at() == '"' || at() == '\'') return literal(at());
    if (is_digit(c) || (c == '.' && is_digit(at(1)))) return number();
    return is_word_character(c) ? word() : symbol();
}

std::optional<Lexer::Fault> Lexer::skip_blanks_and_comments() {
    while (offset_ < text_.size()) {
        if (at() == '\n') {
            ++line_;
            line_begin_ = ++offset_;
        } else if (is_blank(at())) {
            ++offset_;
        } else if (at() == '#') {
            if (const auto fault = directive()) return fault;
        } else if (!preprocessor_.active() || (at() == '/' && at(1) == '/')) {
            skip_line();
        } else if (at() == '/' && at(1) == '*') {
            const Position begin = position();
            if (!skip_comment()) return Fault{begin, "the comment has no end"};
        } else {
            break;
        }
    }
    return std::nullopt;
}

/// A line that ends with a backslash goes on.
std::optional<Lexer::Fault> Lexer::directive() {
    const Position begin = position();
    const std::size_t first = offset_ + 1;
    for (skip_line(); at() == '\n' && text_[offset_ - 1] == '\\'; skip_line()) {
        ++line_;
        line_begin_ = ++offset_;
    }
    if (preprocessor_.read(text_.substr(first, offset_ - first))) return std::nullopt;
    return Fault{begin, "the condition has no value"};
}

void Lexer::skip_line() {
    offset_ = std::min(text_.find('\n', offset_), text_.size());
}

bool Lexer::skip_comment() {
    const std::size_t end = text_.find("*/", offset_ + 2);
    const std::size_t stop = end == std::string_view::npos ? text_.size() : end + 2;
    for (; offset_ < stop; ++offset_)
        if (at() == '\n') {
            ++line_;
            line_begin_ = offset_ + 1;
        }
    return end != std::string_view::npos;
}

Token Lexer::word() {
    Token token{.kind = Token::Kind::WORD, .position = position()};
    token.escaped = at() == '_' && is_word_character(at(1));
    if (token.escaped) ++offset_;
    while (is_word_character(at()))
        token.text += text_[offset_++];
    return token;
}

Token Lexer::number() {
    Token token{.kind = Token::Kind::NUMBER, .position = position()};
    const bool hexadecimal = at() == '0' && (at(1) == 'x' || at(1) == 'X');
    const auto is_sign = [&](char c) {
        const bool exponent = !hexadecimal && (token.text.back() == 'e' || token.text.back() == 'E');
        return exponent && (c == '+' || c == '-');
    };
    do
        token.text += text_[offset_++];
    while (is_word_character(at()) || at() == '.' || is_sign(at()));
    const auto value = number_value(token.text);
    if (!value) return broken(token.position, quoted(token.text) + " is no number of 64 bits");
    token.value = *value;
    return token;
}

Token Lexer::literal(char quote) {
    Token token{.kind = Token::Kind::STRING, .position = position()};
    const std::size_t begin = offset_++;
    while (offset_ < text_.size() && at() != quote && at() != '\n')
        offset_ += at() == '\\' && at(1) != '\n' ? 2 : 1;
    offset_ = std::min(offset_, text_.size());
    if (at() != quote) return broken(token.position, "the literal has no closing quote");
    ++offset_;
    token.text = text_.substr(begin, offset_ - begin);
    std::string content = unescaped(text_.substr(begin + 1, offset_ - begin - 2));
    if (quote == '"') {
        token.value = std::move(content);
        return token;
    }
    const auto code = only_character(content);
    if (!code) return broken(token.position, quoted(token.text) + " is no single character");
    token.kind = Token::Kind::CHARACTER;
    token.value = Integer(*code);
    return token;
}

Token Lexer::symbol() {
    Token token{.kind = Token::Kind::SYMBOL, .position = position()};
    const std::string_view two = text_.substr(offset_, 2);
    token.text = two == "::" || two == "<<" || two == ">>" ? two : two.substr(0, 1);
    offset_ += token.text.size();
    return token;
}

Token Lexer::broken(const Position& position, std::string problem) const {
    return {.kind = Token::Kind::BROKEN, .text = std::move(problem), .position = position};
}

}  // namespace zun::schema
