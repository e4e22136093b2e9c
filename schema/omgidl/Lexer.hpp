// Lexer: IDL text to tokens. Comments are passed over, the lines of the preprocessor obeyed.

#ifndef ZUN_SCHEMA_OMGIDL_LEXER_HPP
#define ZUN_SCHEMA_OMGIDL_LEXER_HPP

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "schema/definition/ConstantExpression.hpp"
#include "schema/omgidl/Preprocessor.hpp"

namespace zun::schema {

struct Token {
    enum class Kind : std::uint8_t { END, WORD, NUMBER, CHARACTER, STRING, SYMBOL, BROKEN };
    Kind kind = Kind::END;
    std::string text = {};  ///< as written, a word without its escape; BROKEN: what is wrong with it
    bool escaped = false;   ///< a word with "_" before it, "_module": a name, even where it spells a keyword
    Constant value = {};    ///< of NUMBER, CHARACTER and STRING
    Position position = {};
};

class Lexer {
public:
    /// `first_line`  the number of the first line of `text`, which must outlive the lexer
    Lexer(std::string_view text, std::uint64_t first_line) : text_(text), line_(first_line) {}

    /// END again and again after the last token. Reads on after a BROKEN one.
    Token next();

private:
    struct Fault {
        Position position;
        const char* problem;
    };

    Token written();
    std::optional<Fault> skip_blanks_and_comments();
    std::optional<Fault> directive();
    void skip_line();
    bool skip_comment();
    Token word();
    Token number();
    Token literal(char quote);
    Token symbol();

    char at(std::size_t ahead = 0) const {
        return offset_ + ahead < text_.size() ? text_[offset_ + ahead] : '\0';
    }
    Position position() const { return {line_, offset_ - line_begin_ + 1}; }
    Token broken(const Position& position, std::string problem) const;

    std::string_view text_;
    std::size_t offset_ = 0;
    std::uint64_t line_;
    std::size_t line_begin_ = 0;
    Preprocessor preprocessor_;
    std::deque<Token> replacement_;  // of a macro, what is left of it
};

}  // namespace zun::schema

#endif
