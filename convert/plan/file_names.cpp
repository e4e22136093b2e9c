#include "convert/plan/file_names.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <new>

#include <utf8proc.h>

#include "platform/text/utf8.hpp"
#include "platform/text/visible.hpp"

namespace zun::convert {

namespace {

constexpr std::size_t longest_name_bytes =
    200;  // room for "~2", ".csv" and the mark of an unfinished file in 255

std::string lower_case(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

/// Equal for names that some file system takes for one: composed or not, whatever the case of their letters,
/// and with or without characters that nobody sees.
std::string folded(const std::string& name) {
    if (std::all_of(name.begin(), name.end(), [](unsigned char byte) { return byte < 0x80; }))
        return lower_case(name);
    constexpr auto how = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE |
                                                        UTF8PROC_CASEFOLD | UTF8PROC_IGNORE);
    utf8proc_uint8_t* text = nullptr;
    const utf8proc_ssize_t size = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(name.data()),
                                               static_cast<utf8proc_ssize_t>(name.size()), &text, how);
    if (size < 0) throw std::bad_alloc();  // the name is UTF-8: it can have no other reason
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(text, &std::free);
    return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)};
}

bool is_letter_or_digit(unsigned char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9');
}

bool is_plain(unsigned char byte) {
    return is_letter_or_digit(byte) ||
           std::string_view("_-.+=@,()[]{}").find(static_cast<char>(byte)) != std::string_view::npos;
}

void append_escaped(std::string& text, unsigned char byte) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    text += '%';
    text += digits[byte >> 4U];
    text += digits[byte & 15U];
}

/// Whether some systems take a file of that name for a device, whatever comes after its first dot.
bool is_reserved(std::string_view name) {
    const std::string word = lower_case(std::string(name.substr(0, name.find_first_of("./"))));
    const std::string_view words[] = {"con", "prn", "aux", "nul"};
    if (std::find(std::begin(words), std::end(words), word) != std::end(words)) return true;
    const bool port = word.rfind("com", 0) == 0 || word.rfind("lpt", 0) == 0;
    return port && word.size() == 4 && word[3] >= '0' && word[3] <= '9';
}

/// The first part of `text`, cut between characters, and a number made from all of it.
std::string shortened(const std::string& text) {
    std::uint64_t hash = 14695981039346656037U;  // FNV-1a
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
    std::string result(first_characters(text, longest_name_bytes - 17));  // "~" and 16 digits follow
    result += '~';
    for (int shift = 60; shift >= 0; shift -= 4)
        result += "0123456789abcdef"[(hash >> static_cast<unsigned>(shift)) & 15U];
    return result;
}

}  // namespace

std::string file_name(std::string_view name) {
    if (!name.empty() && name.front() == '/') name.remove_prefix(1);
    if (name.empty()) return "%";
    const bool reserved = is_reserved(name);
    std::string result;
    while (!name.empty()) {
        const auto byte = static_cast<unsigned char>(name.front());
        const std::size_t wide = byte < 0x80 ? 0 : visible_size(name);
        const bool hides = result.empty() && (byte == '.' || byte == '/' || reserved);
        const bool is_inner_space = byte == ' ' && !result.empty() && name.size() > 1;
        if (byte == '/' && !hides)
            result += '.';
        else if (wide > 0 || is_inner_space || (is_plain(byte) && !hides))
            result += name.substr(0, wide > 0 ? wide : 1);
        else
            append_escaped(result, byte);
        name.remove_prefix(wide > 0 ? wide : 1);
    }
    return result;
}

std::vector<std::string> file_names(const std::vector<FileSubject>& subjects) {
    std::map<std::string, int> used;  // folded, with the last number behind each
    std::vector<std::string> results;
    for (const FileSubject& subject : subjects) {
        std::string whole = file_name(subject.name);
        if (!subject.qualifier.empty()) whole += '~' + file_name(subject.qualifier);
        const std::string first = whole.size() > longest_name_bytes ? shortened(whole) : whole;
        std::string result = first;
        int& number = used[folded(first)];
        for (++number; number > 1; ++number) {
            result = first + '~' + std::to_string(number);
            if (used.emplace(folded(result), 1).second) break;
        }
        results.push_back(std::move(result));
    }
    return results;
}

namespace {

constexpr std::string_view rows_end = ".csv";
constexpr std::string_view sidecar_end = ".schema.json";

std::string stem_of(const std::string& file) {
    return file.substr(0, file.size() - rows_end.size());
}

/// Takes the digits off the front of `text`; whether there are any.
bool take_number(std::string_view& text) {
    const std::size_t size = std::min(text.find_first_not_of("0123456789"), text.size());
    text.remove_prefix(size);
    return size > 0;
}

}  // namespace

CompanionNames::CompanionNames(const std::vector<std::string>& topic_files) {
    for (const std::string& file : topic_files)
        taken_.insert(lower_case(file));
}

std::string CompanionNames::rows(const std::string& file, std::uint64_t number) const {
    const std::string first = stem_of(file) + '.' + std::to_string(number);
    std::string name = first + std::string(rows_end);
    for (int other = 2; taken_.count(lower_case(name)) > 0; ++other)
        name = first + '~' + std::to_string(other) + std::string(rows_end);
    return name;
}

std::string CompanionNames::sidecar(const std::string& file) {
    return stem_of(file) + std::string(sidecar_end);
}

bool CompanionNames::is_companion(const std::string& name, const std::string& file) const {
    std::string_view rest = name;
    if (!rest.starts_with(stem_of(file)) || taken_.count(lower_case(name)) > 0) return false;
    rest.remove_prefix(stem_of(file).size());
    if (rest == sidecar_end) return true;
    if (!rest.starts_with('.')) return false;
    rest.remove_prefix(1);
    if (!take_number(rest)) return false;
    if (rest.starts_with('~')) {
        rest.remove_prefix(1);
        if (!take_number(rest)) return false;
    }
    return rest == rows_end;
}

}  // namespace zun::convert
