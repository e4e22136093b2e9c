// Reason: why something was not converted, or not all of it, and what else is worth knowing.
//
// What helps is a setting, for which every program has words of its own. A sentence holds it as a value, and
// whoever shows the sentence spells it:
//
//     "the topic needs 900 columns; " {MOST_COLUMNS, "900"} " lets it through"

#ifndef ZUN_CONVERT_PLAN_REASON_HPP
#define ZUN_CONVERT_PLAN_REASON_HPP

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zun::convert {

/// A setting that a sentence names, or advises.
struct Advice {
    enum class Setting : std::uint8_t {
        TOPICS,
        TYPES,
        LIMIT,  ///< the value is a rule, "/scan:ranges=10"
        LIMITS_FILE,
        MOST_COLUMNS,
        KEEP_BLOBS,
        SKIP_BLOBS,
        BLOB_FILES,
        INVALID_TEXT,
        OVERWRITE,
        CLOCK,
        EXPLODE,  ///< the value is a rule, "/scan:ranges,intensities"
        FIELDS,   ///< the value is an expression, "/scan:ranges"
        EXCLUDE_FIELDS,
    };
    Setting setting;
    std::string value = {};  ///< empty for the setting as such
    auto operator<=>(const Advice&) const = default;
};

/// Makes advice the text of a program's own option, command or control.
using Spelling = std::function<std::string(const Advice&)>;

/// The spelling for who has none: the names of the settings.
std::string setting_and_value(const Advice& advice);

/// Words, and advice among them.
class Sentence {
public:
    Sentence() = default;
    Sentence(const char* words) : words_(words) {}
    Sentence(std::string words) : words_(std::move(words)) {}
    Sentence(Advice advice) { advice_.emplace_back(0, std::move(advice)); }

    Sentence& operator+=(const Sentence& more);
    auto operator<=>(const Sentence&) const = default;

    std::string spelled(const Spelling& spelling = setting_and_value) const;

private:
    std::string words_ = {};
    std::vector<std::pair<std::size_t, Advice>> advice_ = {};  // in front of which character of the words
};

inline Sentence operator+(Sentence start, const Sentence& end) {
    return std::move(start += end);
}

struct Reason {
    std::string code;                       ///< for programs, the same for ever: "missing-type"
    Sentence text;                          ///< for people
    std::vector<std::string> details = {};  ///< a line each
};

/// Thrown for what is not done because settings forbid it.
class Refusal : public std::runtime_error {
public:
    explicit Refusal(Sentence why) : std::runtime_error(why.spelled()), why_(std::move(why)) {}
    const Sentence& why() const { return why_; }

private:
    Sentence why_;
};

/// Thrown where settings make no sense for the recordings.
class WrongUsage : public Refusal {
public:
    using Refusal::Refusal;
};

}  // namespace zun::convert

#endif
