// InputError: bad input, said in one line that a user can act on.

#ifndef ZUN_PLATFORM_ERROR_INPUT_ERROR_HPP
#define ZUN_PLATFORM_ERROR_INPUT_ERROR_HPP

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace zun {

/// Thrown for bad input, never for a fault of ours. what() is one line fit for the user:
/// "<source>:<position>: <what was expected, what was found>".
class InputError : public std::runtime_error {
public:
    /// `source`    file path or topic name as the user gave it
    /// `position`  byte offset in a recording or sample (from 0), line in a schema text (from 1)
    InputError(const std::string& source, std::uint64_t position, const std::string& problem)
        : std::runtime_error(source + ":" + std::to_string(position) + ": " + problem),
          position_(position),
          problem_length_(problem.size()) {}

    /// The same for a text whose place is a line and a column, both from 1.
    InputError(const std::string& source, std::uint64_t line, std::uint64_t column,
               const std::string& problem)
        : std::runtime_error(source + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
                             problem),
          position_(line),
          problem_length_(problem.size()) {}

    std::uint64_t position() const { return position_; }  ///< the line where the place is line and column
    /// what() without source and position.
    std::string problem() const {
        const std::string text = what();
        return text.substr(text.size() - problem_length_);
    }

private:
    std::uint64_t position_;
    std::size_t problem_length_;
};

}  // namespace zun

#endif
