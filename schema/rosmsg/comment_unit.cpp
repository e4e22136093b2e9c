#include "schema/rosmsg/comment_unit.hpp"

#include <algorithm>
#include <iterator>

#include "schema/rosmsg/trimmed.hpp"

namespace zun::schema {

namespace {

constexpr std::string_view prefixable[] = {"m", "g",  "s",   "A", "K",  "mol", "cd", "rad", "sr",  "Hz",
                                           "N", "Pa", "J",   "W", "C",  "V",   "F",  "Ω",   "ohm", "Ohm",
                                           "S", "Wb", "T",   "H", "lm", "lx",  "Bq", "Gy",  "Sv",  "L",
                                           "l", "eV", "bar", "b", "B",  "Ah",  "Wh", "G"};

constexpr std::string_view prefixes[] = {"f", "p",  "n", "u", "µ", "μ", "m", "c",
                                         "d", "da", "h", "k", "M", "G", "T", "P"};

constexpr std::string_view whole[] = {
    "%", "°", "deg", "°C", "degC", "h", "rpm", "RPM", "dB", "dBm", "ppm", "px", "pixel",
    // Written out; each may have an s behind it.
    "meter", "metre", "millimeter", "millimetre", "kilometer", "kilometre", "gram", "kilogram", "second",
    "millisecond", "microsecond", "nanosecond", "minute", "hour", "ampere", "amp", "volt", "watt", "newton",
    "pascal", "joule", "kelvin", "celsius", "Celsius", "tesla", "Tesla", "gauss", "hertz", "radian", "degree",
    "percent"};

template <typename Words>
bool contains(const Words& words, std::string_view word) {
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

bool is_symbol(std::string_view word) {
    if (contains(prefixable, word) || contains(whole, word)) return true;
    if (word.size() > 4 && word.ends_with('s') && contains(whole, word.substr(0, word.size() - 1)))
        return true;
    return std::any_of(std::begin(prefixes), std::end(prefixes), [&](std::string_view prefix) {
        return word.starts_with(prefix) && contains(prefixable, word.substr(prefix.size()));
    });
}

/// A symbol with or without a power: "m", "s^2", "s^-1", "m2", "m²".
bool is_factor(std::string_view text) {
    if (text == "1") return true;
    for (const std::string_view power : {"²", "³"})
        if (text.ends_with(power)) return is_symbol(text.substr(0, text.size() - power.size()));
    const std::size_t symbol_end = text.find_last_not_of("0123456789") + 1;
    const bool has_digits = symbol_end < text.size();
    text = text.substr(0, symbol_end);
    if (!has_digits) return is_symbol(text);
    if (text.ends_with('-')) text.remove_suffix(1);
    if (text.ends_with('^')) text.remove_suffix(1);
    return is_symbol(text);
}

bool is_unit(std::string_view text, bool in_round_brackets) {
    if (text == "1" || text.size() > 40) return false;
    // A letter in round brackets may be a remark, "(A)"; these are units in the interfaces of ROS.
    if (in_round_brackets && text.size() == 1)
        return text == "m" || text == "s" || text == "g" || text == "%";
    while (true) {
        const std::size_t end = std::min(text.find_first_of("*/. "), text.size());
        if (!is_factor(text.substr(0, end))) return false;
        if (end == text.size()) return true;
        text.remove_prefix(end + 1);
    }
}

}  // namespace

std::string unit_in_comment(std::string_view comment) {
    std::string_view unit;
    for (std::size_t at = 0; (at = comment.find_first_of("[(", at)) != std::string_view::npos; ++at) {
        const bool stands_alone = at == 0 || comment[at - 1] == ' ' || comment[at - 1] == '\t';
        const std::size_t end = comment.find(comment[at] == '[' ? ']' : ')', at);
        if (!stands_alone || end == std::string_view::npos) continue;
        const std::string_view text = trimmed(comment.substr(at + 1, end - at - 1));
        if (!is_unit(text, comment[at] == '(')) continue;
        if (!unit.empty() && unit != text) return {};
        unit = text;
    }
    return std::string(unit);
}

}  // namespace zun::schema
