#include "convert/plan/column_names.hpp"

#include <algorithm>
#include <sstream>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace zun::convert {

namespace {

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_word(char c) {
    return is_digit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

/// An underscore for each run of other characters between words; none at the ends.
std::string word_of(const std::string& name) {
    std::string word;
    bool parted = false;
    for (const char c : name) {
        if (!is_word(c)) {
            parted = true;
            continue;
        }
        if (std::exchange(parted, false) && !word.empty()) word += '_';
        word += c;
    }
    if (word.empty() || is_digit(word.front())) word.insert(0, 1, '_');
    return word;
}

/// What must differ from name to name.
std::string key_of(std::string name, ColumnNames form) {
    if (form == ColumnNames::UNDERSCORES)
        for (char& c : name)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return name;
}

/// Takes as long as there are names: a number that is taken is tried for the one name that it is behind.
void number_alike(std::vector<std::string>& names, ColumnNames form) {
    std::unordered_set<std::string> taken;
    for (const std::string& name : names)
        taken.insert(key_of(name, form));
    std::unordered_map<std::string, std::uint64_t> last_number;
    for (std::string& name : names) {
        const std::string key = key_of(name, form);
        const auto [last, is_first] = last_number.try_emplace(key, 1);
        if (is_first) continue;
        std::string suffix;
        do
            suffix = '_' + std::to_string(++last->second);
        while (!taken.insert(key + suffix).second);
        name += suffix;
    }
}

}  // namespace

std::vector<std::string> column_names(const std::string& header, ColumnNames form) {
    std::vector<std::string> names;
    std::istringstream line(header.substr(0, header.find('\n')));
    for (std::string name; std::getline(line, name, ',');) {
        if (form == ColumnNames::SLASHES) std::replace(name.begin(), name.end(), '.', '/');
        names.push_back(form == ColumnNames::UNDERSCORES ? word_of(name) : name);
    }
    if (form != ColumnNames::DOTS) number_alike(names, form);
    return names;
}

std::string renamed_header(const std::string& header, ColumnNames form) {
    if (form == ColumnNames::DOTS) return header;
    std::string line;
    for (const std::string& name : column_names(header, form))
        (line += name) += ',';
    line.back() = '\n';
    return line;
}

}  // namespace zun::convert
