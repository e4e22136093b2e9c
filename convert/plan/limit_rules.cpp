#include "convert/plan/limit_rules.hpp"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <tuple>

#include "platform/fnmatch/MOSSString_fnmatch.hpp"

namespace zun::convert {

namespace {

/// The length of a bracketed number or "*" at `position`; 0 where there is none.
std::size_t index_size(const std::string& text, std::size_t position) {
    if (text[position] != '[') return 0;
    const std::size_t end = text.find(']', position);
    if (end == std::string::npos || end == position + 1) return 0;
    const std::string inside = text.substr(position + 1, end - position - 1);
    const bool index = inside == "*" || inside.find_first_not_of("0123456789") == std::string::npos;
    return index ? end - position + 1 : 0;
}

/// `expression` with each index replaced by what `escape` makes of its inside, brackets escaped.
template <typename Escape>
std::string with_indices(const std::string& expression, const Escape& escape) {
    std::string result;
    for (std::size_t i = 0; i < expression.size();) {
        const std::size_t size = index_size(expression, i);
        if (size > 0)
            result += "\\[" + escape(expression.substr(i + 1, size - 2)) + "\\]";
        else
            result += expression[i];
        i += std::max<std::size_t>(size, 1);
    }
    return result;
}

/// How specific an expression is; the greater goes first.
struct Rank {
    bool exact = true;         // no wildcard
    std::size_t literals = 0;  // characters that match themselves alone

    explicit Rank(const std::string& expression) {
        for (std::size_t i = 0; i < expression.size(); ++i) {
            const std::size_t index = index_size(expression, i);
            if (index > 0) {
                literals += expression[i + 1] == '*' ? 2 : index;
                i += index - 1;
            } else if (const std::size_t set = set_size(expression, i); set > 0) {
                exact = false;
                i += set - 1;
            } else if (expression[i] == '*' || expression[i] == '?') {
                exact = false;
            } else {
                ++literals;
                if (expression[i] == '\\') ++i;
            }
        }
    }
    auto operator<=>(const Rank&) const = default;

private:
    static std::size_t set_size(const std::string& text, std::size_t position) {
        const std::size_t end = text[position] == '[' ? text.find(']', position + 1) : std::string::npos;
        return end == std::string::npos ? 0 : end - position + 1;
    }
};

}  // namespace

bool matches(const std::string& pattern, const std::string& text) {
    return MOSSString_fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
}

LimitRule parse_limit_rule(const std::string& text) {
    const auto refused = [&](const char* reason) {
        return std::invalid_argument("'" + text + "': " + reason);
    };
    LimitRule rule;
    rule.given = text;
    const std::size_t equals = text.rfind('=');
    if (equals == std::string::npos) throw refused("expected EXPR=N or TOPIC:EXPR=N");
    const char* const end = text.data() + text.size();
    const auto number = std::from_chars(text.data() + equals + 1, end, rule.limit);
    if (number.ec != std::errc{} || number.ptr != end)
        throw refused("the limit is no number from 0 to 4294967295");
    rule.expression = text.substr(0, equals);
    const std::size_t colon = rule.expression.rfind(':');
    if (colon != std::string::npos) {
        rule.topic = rule.expression.substr(0, colon);
        rule.expression.erase(0, colon + 1);
    }
    if (rule.expression.empty()) throw refused("the expression is empty");
    return rule;
}

std::vector<std::size_t> rules_for(const std::vector<LimitRule>& rules, const std::string& topic) {
    std::vector<std::size_t> order;
    for (std::size_t i = rules.size(); i-- > 0;)
        if (rules[i].topic.empty() || matches(rules[i].topic, topic)) order.push_back(i);
    const auto rank = [&](std::size_t index) {
        const LimitRule& rule = rules[index];
        return std::make_tuple(Rank(rule.expression), !rule.topic.empty(), Rank(rule.topic));
    };
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return rank(a) > rank(b); });
    return order;
}

std::string escaped_indices(const std::string& expression) {
    return with_indices(expression, [](const std::string& inside) { return inside; });
}

bool names_an_element(const std::string& expression) {
    for (std::size_t i = 0; i < expression.size(); ++i)
        if (index_size(expression, i) > 0 && expression[i + 1] != '*') return true;
    return false;
}

std::string any_index(const std::string& expression) {
    return with_indices(expression, [](const std::string&) { return std::string("\\*"); });
}

}  // namespace zun::convert
