#include "schema/omgidl/Preprocessor.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>

#include "schema/definition/NestingLevel.hpp"

namespace zun::schema {

namespace {

constexpr std::size_t longest_macro = 1000;  // macros of macros could grow without end

bool is_word_character(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

void skip_blanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n\f\v\\"), text.size()));
}

/// Takes letters, digits and underlines, with the blanks before and after them.
std::string_view take_word(std::string_view& text) {
    skip_blanks(text);
    const auto end = std::find_if_not(text.begin(), text.end(), is_word_character);
    const std::string_view word = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(word.size());
    return word;
}

std::string_view without_comment(std::string_view text) {
    return text.substr(0, std::min(text.find("//"), text.find("/*")));
}

struct Operator {
    std::string_view symbol;
    int precedence;
    std::int64_t (*apply)(std::int64_t, std::int64_t);
};

/// Of two that begin alike the longer one first.
constexpr Operator operators[] = {
    {"||", 1, [](std::int64_t a, std::int64_t b) -> std::int64_t { return a || b; }},
    {"&&", 2, [](std::int64_t a, std::int64_t b) -> std::int64_t { return a && b; }},
    {"==", 3, [](std::int64_t a, std::int64_t b) -> std::int64_t { return a == b; }},
    {"!=", 3, [](std::int64_t a, std::int64_t b) -> std::int64_t { return a != b; }},
    {"<=", 4, [](std::int64_t a, std::int64_t b) -> std::int64_t { return a <= b; }},
    {">=", 4, [](std::int64_t a, std::int64_t b) -> std::int64_t { return a >= b; }},
    {"<", 4, [](std::int64_t a, std::int64_t b) -> std::int64_t { return a < b; }},
    {">", 4, [](std::int64_t a, std::int64_t b) -> std::int64_t { return a > b; }}};

/// The value of a condition, by recursive descent.
class Condition {
public:
    Condition(std::string_view text, const Preprocessor& macros) : rest_(text), macros_(macros) {}

    /// Nothing where the text is no condition.
    std::optional<std::int64_t> value() {
        const auto result = operation(1);
        skip_blanks(rest_);
        return rest_.empty() ? result : std::nullopt;
    }

private:
    using Value = std::optional<std::int64_t>;

    Value operation(int lowest_precedence) {
        Value left = operand();
        while (left) {
            skip_blanks(rest_);
            const auto* found =
                std::find_if(std::begin(operators), std::end(operators),
                             [&](const Operator& op) { return rest_.starts_with(op.symbol); });
            if (found == std::end(operators) || found->precedence < lowest_precedence) break;
            rest_.remove_prefix(found->symbol.size());
            const Value right = operation(found->precedence + 1);
            left = right ? Value(found->apply(*left, *right)) : std::nullopt;
        }
        return left;
    }

    Value operand() {
        const NestingLevel level(depth_);
        if (level.is_too_deep()) return std::nullopt;
        return accept("!") ? negated(operand()) : accept("(") ? closed(operation(1)) : word();
    }

    static Value negated(Value value) { return value ? Value(*value == 0) : std::nullopt; }
    Value closed(Value value) { return accept(")") ? value : std::nullopt; }

    Value word() {
        const std::string_view name = take_word(rest_);
        if (name == "defined") {
            const bool in_parentheses = accept("(");
            const Value known = macros_.macro(take_word(rest_)) != nullptr;
            return in_parentheses ? closed(known) : known;
        }
        const std::string* const text = macros_.macro(name);
        return text ? number(*text) : number(name);
    }

    /// A name that stands for nothing is 0.
    static Value number(std::string_view text) {
        if (text.empty()) return std::nullopt;
        if (text.front() < '0' || text.front() > '9') return 0;
        const int base = text.starts_with("0x") || text.starts_with("0X") ? 16 : 10;
        if (base == 16) text.remove_prefix(2);
        std::int64_t value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
        return error == std::errc() ? Value(value) : std::nullopt;
    }

    bool accept(std::string_view symbol) {
        skip_blanks(rest_);
        if (!rest_.starts_with(symbol)) return false;
        rest_.remove_prefix(symbol.size());
        return true;
    }

    std::string_view rest_;
    const Preprocessor& macros_;
    unsigned depth_ = 0;
};

}  // namespace

bool Preprocessor::read(std::string_view line) {
    line = without_comment(line);
    const std::string_view keyword = take_word(line);
    if (keyword == "if" || keyword == "ifdef" || keyword == "ifndef") {
        bool holds = false;
        const bool sound = keyword == "if" ? condition(line, holds) : true;
        if (keyword != "if") holds = (macro(take_word(line)) != nullptr) == (keyword == "ifdef");
        open(holds);
        return sound;
    }
    if (branches_.empty() || keyword == "define" || keyword == "undef") {
        if (active() && keyword == "define") define(line);
        if (active() && keyword == "undef") macros_.erase(std::string(take_word(line)));
        return true;
    }
    if (keyword == "endif") {
        branches_.pop_back();
    } else if (keyword == "else" || keyword == "elif") {
        bool holds = true;
        if (keyword == "elif" && branches_.back() == Branch::NOT_YET && !condition(line, holds)) return false;
        branches_.back() = branches_.back() == Branch::NOT_YET && holds ? Branch::TAKEN
                           : branches_.back() == Branch::NOT_YET        ? Branch::NOT_YET
                                                                        : Branch::DONE;
    }
    return true;
}

/// In a branch that does not count, none of the new ones does.
void Preprocessor::open(bool condition) {
    branches_.push_back(!active() ? Branch::DONE : condition ? Branch::TAKEN : Branch::NOT_YET);
}

bool Preprocessor::condition(std::string_view text, bool& holds) const {
    if (!branches_.empty() && branches_.back() == Branch::DONE) return true;
    const auto value = Condition(text, *this).value();
    holds = value.value_or(0) != 0;
    return value.has_value();
}

void Preprocessor::define(std::string_view text) {
    const std::string name(take_word(text));
    if (name.empty() || text.starts_with('(')) return;
    skip_blanks(text);
    text = text.substr(0, text.find_last_not_of(" \t\r\n\f\v\\") + 1);
    std::string value;
    while (!text.empty()) {
        const std::string_view word =
            text.substr(0, static_cast<std::size_t>(
                               std::find_if_not(text.begin(), text.end(), is_word_character) - text.begin()));
        const std::string* const meaning = text.find('"') == std::string_view::npos ? macro(word) : nullptr;
        const std::string_view taken = text.substr(0, std::max<std::size_t>(word.size(), 1));
        value += meaning ? std::string_view(*meaning) : taken == "\\" ? " " : taken;
        text.remove_prefix(taken.size());
    }
    if (value.size() <= longest_macro) macros_.insert_or_assign(name, value);
}

const std::string* Preprocessor::macro(std::string_view name) const {
    const auto found = macros_.find(name);
    return found == macros_.end() ? nullptr : &found->second;
}

}  // namespace zun::schema
