// View: what of a type is shown, and how.
//
// A tree beside the type's own, of those of its parts alone that are not shown as they are:
//
//     type  header, parts: sequence of { blob, n }        view  parts -> element -> blob (excluded)
//
// A walk reads over excluded members by their size and tells its handler nothing of them; a part that is
// shown as one value, and a sequence whose elements have rows of their own, it announces as such.

#ifndef ZUN_PLATFORM_CDR_VIEW_HPP
#define ZUN_PLATFORM_CDR_VIEW_HPP

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zun::cdr {

struct View {
    enum class Shape : std::uint8_t {
        PARTS,     ///< its members or elements, each by its own view
        EXCLUDED,  ///< nothing; never the root, nor an element

        // An array or a sequence of scalars of one byte, as one value:
        LENGTH,      ///< how many there are
        HEX,         ///< two digits each
        BASE64,      ///< as RFC 4648 has it
        FILE,        ///< the name of a file that holds them
        CHARACTERS,  ///< the text up to the first zero

        // A structure of seconds and nanoseconds, as one value:
        STAMP,     ///< a moment
        DURATION,  ///< a span of time

        ROWS,  ///< a sequence, member of a structure, each element a value for a row of its own
    };
    Shape shape = Shape::PARTS;
    std::uint32_t number = 0;  ///< FILE: of the field, from 0; ROWS: the place in `rows` of the root
    /// By name, those that are not shown as they are, or have such parts in them; parts that are alike share
    /// one.
    std::map<std::string, std::shared_ptr<const View>, std::less<>> members = {};
    std::shared_ptr<const View> element = {};  ///< of a collection
    std::string column = {};  ///< ROWS: full name of an element's columns, "markers[i].points[j]"

    /// A sequence whose elements have rows of their own.
    struct Rows {
        std::uint32_t level = 0;   ///< sequences of this sort around it
        std::uint32_t around = 0;  ///< place in `rows` of the innermost of them; where there is none, its own
    };
    std::vector<Rows> rows = {};          ///< of the root, outer ones before those in them
    std::vector<std::string> files = {};  ///< of the root: full names of the fields that are files

    /// The view of a member; null where it is shown as it is.
    const View* member(std::string_view name) const {
        const auto found = members.find(name);
        return found == members.end() ? nullptr : found->second.get();
    }
    std::uint32_t levels_of_rows() const;  ///< of the root
};

inline bool is_bytes(View::Shape shape) {
    return shape >= View::Shape::LENGTH && shape <= View::Shape::CHARACTERS;
}
inline bool is_stamp(View::Shape shape) {
    return shape == View::Shape::STAMP || shape == View::Shape::DURATION;
}
inline bool is_one_value(View::Shape shape) {
    return is_bytes(shape) || is_stamp(shape);
}

inline std::uint32_t View::levels_of_rows() const {
    std::uint32_t levels = 0;
    for (const Rows& each : rows)
        levels = each.level + 1 > levels ? each.level + 1 : levels;
    return levels;
}

}  // namespace zun::cdr

#endif
