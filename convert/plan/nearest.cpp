#include "convert/plan/nearest.hpp"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <utility>

namespace zun::convert {

namespace {

constexpr std::size_t most_names = 3;
constexpr std::size_t letters_per_error = 3;
constexpr std::size_t errors_of_abbreviation = 1;

std::string lower_case(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

/// Letters to insert, delete, replace or swap with a neighbour until `a` is `b`.
std::size_t errors_between(std::string_view a, std::string_view b) {
    std::vector<std::size_t> two_before;
    std::vector<std::size_t> before;
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        two_before = std::exchange(before, row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = a[i - 1] == b[j - 1];
            row[j] = std::min({before[j] + 1, row[j - 1] + 1, before[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], two_before[j - 2] + 1);
        }
    }
    return row[b.size()];
}

/// Of the whole name and of what is behind each of its slashes and dots, the one with the fewest errors
/// counts.
std::size_t errors_of(std::string_view word, std::string_view name) {
    const bool abbreviates = word.size() >= letters_per_error && name.starts_with(word);
    std::size_t errors = abbreviates ? errors_of_abbreviation : errors_between(word, name);
    if (const std::size_t end = name.find_first_of("/."); end != std::string_view::npos)
        errors = std::min(errors, errors_of(word, name.substr(end + 1)));
    return errors;
}

}  // namespace

std::vector<std::string> nearest(std::string_view word, const std::vector<std::string>& names) {
    const std::string meant = lower_case(word);
    std::size_t fewest = meant.size() / letters_per_error;
    std::vector<std::string> found;
    for (const std::string& name : names) {
        const std::size_t errors = errors_of(meant, lower_case(name));
        if (errors > fewest) continue;
        if (errors < fewest) found.clear();
        fewest = errors;
        if (found.size() < most_names) found.push_back(name);
    }
    return found;
}

std::string nearest_note(std::string_view word, const std::vector<std::string>& names) {
    std::string note;
    for (const std::string& name : nearest(word, names))
        note += (note.empty() ? "; nearest: '" : ", '") + name + '\'';
    return note;
}

}  // namespace zun::convert
