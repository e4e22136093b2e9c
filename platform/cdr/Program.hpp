// Program: a type and a layout, compiled into what a walk over a sample does step by step.
//
// In: a type. Out: plans, one for each distinct type that it is made of, with all decisions that the layout
// leaves open already taken. Types cannot contain themselves, so plans form a graph without circles:
//
//     plan of Pose   members  position -> plan of Point (3 members, 1 run of doubles)
//                             track    -> plan of a sequence, element -> plan of Point

#ifndef ZUN_PLATFORM_CDR_PROGRAM_HPP
#define ZUN_PLATFORM_CDR_PROGRAM_HPP

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/cdr/Layout.hpp"
#include "platform/cdr/Scalar.hpp"
#include "platform/cdr/View.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::cdr {

/// How the members of a structure or union lie in a sample.
enum class Form : std::uint8_t {
    PLAIN,
    DELIMITED,   ///< after their size in bytes
    PARAMETERS,  ///< each after a header with its id and size
    BITS,        ///< all in one integer
};

struct Plan;

struct Member {
    const char* name;  ///< lies in the type
    const Plan* plan;
    ScalarBytes initial;            ///< value when a sample does not carry the member
    std::string_view initial_text;  ///< the same for a string
    std::uint32_t first_field;      ///< sequences before this member in its structure or union
    bool optional;
    bool excluded;
};

/// Members that are read together: a run of scalars of one size, or one member of any other sort.
struct Step {
    std::uint32_t first;  ///< index of the first member
    std::uint32_t count;
    std::uint64_t size;  ///< bytes of a run; 0 marks any other member
    TypeKind kind;       ///< of all members of a run; NO_TYPE where they differ
    std::uint8_t alignment;
    bool excluded;  ///< all members of a run, or none
};

struct Enumerator {
    std::int64_t value;
    std::string_view name;
};

/// How values of one type are read.
struct Plan {
    /// Behind aliases; a bit mask is the unsigned integer that carries it.
    TypeKind kind = TypeKind::NO_TYPE;
    TypeKind carrier = TypeKind::NO_TYPE;  ///< enumeration: the integer that carries it
    Form form = Form::PLAIN;
    std::uint8_t scalar_size = 0;  ///< bytes of a scalar, 0 for every other type
    std::uint8_t alignment = 1;    ///< of a scalar
    bool delimited = false;        ///< collection: its size in bytes comes first
    bool open_ended = false;       ///< structure, union: a sample may end before the last member
    bool placeholder = false;      ///< structure without members that takes one byte
    View::Shape shape = View::Shape::PARTS;
    std::uint32_t number = 0;      ///< of the view, where the shape has one
    std::uint32_t bound = 0;       ///< sequence, string
    std::uint32_t count = 0;       ///< array: elements
    std::uint32_t dimensions = 1;  ///< array
    /// Sequences in it, itself included, whose elements are shown as such; at most UINT32_MAX.
    std::uint32_t fields = 0;
    std::uint64_t minimal_size = 0;  ///< bytes that every value takes at least; at most UINT32_MAX
    const Plan* element = nullptr;   ///< collection: element; union: discriminator; bit set: its integer
    ScalarBytes initial = {};        ///< scalar: value of an element that a sample does not carry

    /// Those of bases first. Of a sequence whose elements have rows of their own: what announces an element.
    std::vector<Member> members;
    std::vector<Step> steps;  ///< structure in plain form
    /// Ascending: member ids of a structure, labels of a union, with the index of the member.
    std::vector<std::pair<std::int64_t, std::uint32_t>> index;
    std::uint32_t default_member = UINT32_MAX;  ///< union: selected by all other values; UINT32_MAX: none
    std::vector<core::xtypes::BitField> bits;   ///< bit set: by member
    std::vector<Enumerator> enumerators;        ///< ascending by value

    bool is_scalar() const { return scalar_size != 0; }
    /// The member with that id or label, or the default one; null where there is none.
    const Member* find(std::int64_t id_or_label) const;
    /// The name of an enumerator; empty for a value that has none.
    std::string_view enumerator_name(std::int64_t value) const;
};

class Program {
public:
    /// `view`  of the type, which must outlive the program; null where all is shown as it is
    /// Throws  std::invalid_argument for a type that is no structure or union, or that nobody can decode
    Program(const core::xtypes::DynamicTypeImpl& type, const Layout& layout, const View* view = nullptr);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    const Plan& root() const { return *root_; }
    const Layout& layout() const { return layout_; }
    const Dependence& dependence() const { return dependence_; }

private:
    friend class Compiler;
    core::xtypes::DynamicTypeImpl type_;  // the plans' names lie in it
    Layout layout_;
    Dependence dependence_;
    std::deque<Plan> plans_;  // stay in place: plans hold each other's addresses
    const Plan* root_ = nullptr;
};

}  // namespace zun::cdr

#endif
