// Preprocessor: which lines of an IDL text count, and what its macros stand for.
//
//     #define N 3          macros without parameters; the text of N is "3"
//     #if defined(M) && N > 2
//     #else
//     #endif

#ifndef ZUN_SCHEMA_OMGIDL_PREPROCESSOR_HPP
#define ZUN_SCHEMA_OMGIDL_PREPROCESSOR_HPP

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zun::schema {

class Preprocessor {
public:
    /// Obeys a line, which is given without its "#". False for a condition that has no value. Lines of other
    /// kinds, such as pragmas, change nothing.
    bool read(std::string_view line);

    /// Whether what follows the lines read counts.
    bool active() const { return branches_.empty() || branches_.back() == Branch::TAKEN; }

    /// The text that `name` stands for, with the macros in it replaced; null where it stands for itself.
    const std::string* macro(std::string_view name) const;

private:
    enum class Branch : std::uint8_t { TAKEN, NOT_YET, DONE };

    void open(bool condition);
    bool condition(std::string_view text, bool& holds) const;
    void define(std::string_view text);

    std::map<std::string, std::string, std::less<>> macros_;
    std::vector<Branch> branches_;  // of the open conditions, the innermost one last
};

}  // namespace zun::schema

#endif
