#include "platform/cdr/Program.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "platform/xtypes/TypeBuilder.hpp"

namespace zun::cdr {

using core::xtypes::ArrayTypeImpl;
using core::xtypes::BitmaskTypeImpl;
using core::xtypes::CollectionTypeImpl;
using core::xtypes::DefaultValue;
using core::xtypes::DynamicTypeImpl;
using core::xtypes::EnumTypeImpl;
using core::xtypes::Extensibility;
using core::xtypes::MemberImpl;
using core::xtypes::SequenceTypeImpl;
using core::xtypes::StringTypeImpl;
using core::xtypes::StructTypeImpl;
using core::xtypes::UnionMember;
using core::xtypes::UnionTypeImpl;

namespace {

constexpr std::uint32_t nesting_limit = 100;

std::uint64_t capped(std::uint64_t value) {
    return std::min<std::uint64_t>(value, UINT32_MAX);
}

TypeKind unsigned_of(std::uint32_t bits) {
    if (bits <= 8) return TypeKind::UINT_8_TYPE;
    if (bits <= 16) return TypeKind::UINT_16_TYPE;
    return bits <= 32 ? TypeKind::UINT_32_TYPE : TypeKind::UINT_64_TYPE;
}

/// Signed, unless an enumerator fits into the unsigned integer alone.
TypeKind carrier_of(const EnumTypeImpl& type) {
    const TypeKind carrier = unsigned_of(type.bit_bound());
    const std::int64_t limit = std::int64_t{1} << (8 * size_of(carrier) - 1);
    for (const EnumTypeImpl::Enumerator& enumerator : type.enumerators())
        if (enumerator.value >= limit) return carrier;
    if (carrier == TypeKind::UINT_8_TYPE) return TypeKind::INT_8_TYPE;
    return carrier == TypeKind::UINT_16_TYPE ? TypeKind::INT_16_TYPE : TypeKind::INT_32_TYPE;
}

/// The default of a numeric member, whatever sort of number its text was read as.
ScalarBytes bytes_of_number(const Plan& plan, double floating, std::int64_t integer) {
    switch (plan.kind) {
        case TypeKind::FLOAT_32_TYPE:
            return bytes_of(static_cast<float>(floating));
        case TypeKind::FLOAT_64_TYPE:
            return bytes_of(floating);
        case TypeKind::FLOAT_128_TYPE:
            return bytes_of_long_double(floating);
        default:
            return bytes_of_integer(plan.carrier, integer);
    }
}

struct InitialBytes {
    const Plan& plan;
    ScalarBytes operator()(bool value) const { return (*this)(std::int64_t{value}); }
    ScalarBytes operator()(std::int64_t value) const {
        return bytes_of_number(plan, static_cast<double>(value), value);
    }
    ScalarBytes operator()(std::uint64_t value) const {
        return bytes_of_number(plan, static_cast<double>(value), static_cast<std::int64_t>(value));
    }
    ScalarBytes operator()(double value) const {
        const bool fits = std::fabs(value) < 9.2e18;
        return bytes_of_number(plan, value, fits ? static_cast<std::int64_t>(value) : 0);
    }
    ScalarBytes operator()(const std::string& text) const {  // a character
        return text.empty() ? plan.initial : (*this)(std::int64_t{static_cast<unsigned char>(text.front())});
    }
};

Member member_of(const MemberImpl& member, const Plan& plan, bool excluded) {
    Member made{.name = member.name(),
                .plan = &plan,
                .initial = plan.initial,
                .initial_text = {},
                .first_field = 0,
                .optional = member.is_optional(),
                .excluded = excluded};
    if (!member.default_value()) return made;
    if (plan.is_scalar()) made.initial = std::visit(InitialBytes{plan}, *member.default_value());
    if (const auto* const text = std::get_if<std::string>(&*member.default_value()))
        made.initial_text = *text;
    return made;
}

Member member_of(const UnionMember& member, const Plan& plan, bool excluded) {
    return {.name = member.name(),
            .plan = &plan,
            .initial = plan.initial,
            .initial_text = {},
            .first_field = 0,
            .optional = false,
            .excluded = excluded};
}

/// Numbers the sequences of the members that are not excluded one after the other.
void count_fields(Plan& plan) {
    std::uint64_t fields = 0;
    for (Member& member : plan.members) {
        member.first_field = static_cast<std::uint32_t>(fields);
        if (!member.excluded) fields = capped(fields + member.plan->fields);
    }
    plan.fields = static_cast<std::uint32_t>(fields);
}

/// Joins neighbouring scalars of one size to runs.
std::vector<Step> steps_of(const std::vector<Member>& members) {
    std::vector<Step> steps;
    for (std::uint32_t i = 0; i < members.size(); ++i) {
        const Plan& plan = *members[i].plan;
        const bool single = members[i].optional || !plan.is_scalar();
        const std::uint64_t size = single ? 0 : plan.scalar_size;
        const bool alike = !steps.empty() && steps.back().excluded == members[i].excluded;
        if (size != 0 && alike && steps.back().size == size * steps.back().count) {
            Step& run = steps.back();
            if (run.kind != plan.kind) run.kind = TypeKind::NO_TYPE;
            ++run.count;
            run.size += size;
        } else {
            steps.push_back({i, 1, size, plan.kind, plan.alignment, members[i].excluded});
        }
    }
    return steps;
}

}  // namespace

/// Makes the plans of one program.
class Compiler {
public:
    explicit Compiler(Program& program) : program_(program) {}

    const Plan& root(const DynamicTypeImpl& type, const View* view) {
        Plan& plan = program_.plans_.emplace_back();
        view_ = view;
        fill_aggregate(type, program_.layout_.root, plan);
        return plan;
    }

private:
    const Reading& reading() const { return program_.layout_.reading; }
    bool xcdr2() const { return program_.layout_.xcdr2; }

    const Plan& plan_of(const DynamicTypeImpl& declared, const View* view = nullptr) {
        const DynamicTypeImpl type = declared.resolved();
        auto known = known_.find({type.node().get(), view});
        if (known == known_.end()) {
            const std::uint32_t siblings_height = std::exchange(children_height_, 0);
            const View* const view_around = std::exchange(view_, view);
            ++nesting_;
            check_nesting(0);
            Plan& plan = program_.plans_.emplace_back();
            fill(type, plan);
            --nesting_;
            const Key key{type.node().get(), view};
            known = known_.emplace(key, Known{&plan, children_height_ + 1}).first;
            view_ = view_around;
            children_height_ = siblings_height;
        }
        check_nesting(known->second.height);
        children_height_ = std::max(children_height_, known->second.height);
        return *known->second.plan;
    }

    const Plan& plan_of_element(const DynamicTypeImpl& type) {
        return plan_of(type, view_ == nullptr ? nullptr : view_->element.get());
    }

    template <typename AnyMember>
    Member made_member(const AnyMember& member) {
        const View* const view = view_ == nullptr ? nullptr : view_->member(member.name());
        const bool excluded = view != nullptr && view->shape == View::Shape::EXCLUDED;
        return member_of(member, plan_of(member.type(), excluded ? nullptr : view), excluded);
    }

    void check_nesting(std::uint32_t height) const {
        if (nesting_ + height > nesting_limit)
            throw std::invalid_argument("type '" + program_.type_.name() + "' is nested deeper than " +
                                        std::to_string(nesting_limit) + " levels");
    }

    void fill(const DynamicTypeImpl& type, Plan& plan) {
        fill_value(type, plan);
        if (view_ == nullptr || view_->shape == View::Shape::PARTS) return;
        plan.shape = view_->shape;
        plan.number = view_->number;
        plan.fields = is_one_value(plan.shape) ? 0 : plan.element->fields;
        if (plan.shape == View::Shape::ROWS)
            plan.members = {{.name = view_->column.c_str(),
                             .plan = plan.element,
                             .initial = {},
                             .initial_text = {},
                             .first_field = 0,
                             .optional = false,
                             .excluded = false}};
    }

    void fill_value(const DynamicTypeImpl& type, Plan& plan) {
        plan.kind = type.kind();
        switch (type.kind()) {
            case TypeKind::STRUCTURE_TYPE:
                return fill_aggregate(type, nested_form(StructTypeImpl(type).extensibility()), plan);
            case TypeKind::UNION_TYPE:
                return fill_aggregate(type, nested_form(UnionTypeImpl(type).extensibility()), plan);
            case TypeKind::ARRAY_TYPE:
                return fill_array(ArrayTypeImpl(type), plan);
            case TypeKind::SEQUENCE_TYPE:
                return fill_sequence(SequenceTypeImpl(type), plan);
            case TypeKind::STRING_TYPE:
            case TypeKind::WSTRING_TYPE:
                plan.bound = StringTypeImpl(type).bounds();
                plan.minimal_size = 4;
                program_.dependence_.wide_strings |= type.kind() == TypeKind::WSTRING_TYPE;
                return;
            default:
                fill_scalar(type, plan);
        }
    }

    Extensibility nested_form(Extensibility declared) {
        if (declared != Extensibility::UNSPECIFIED) return declared;
        program_.dependence_.unspecified = true;
        return reading().unspecified;
    }

    void fill_scalar(const DynamicTypeImpl& type, Plan& plan) {
        plan.carrier = plan.kind;
        if (plan.kind == TypeKind::BITMASK_TYPE)
            plan.kind = plan.carrier = unsigned_of(BitmaskTypeImpl(type).bit_bound());
        if (plan.kind == TypeKind::ENUMERATION_TYPE) {
            const EnumTypeImpl enumeration(type);
            plan.carrier = carrier_of(enumeration);
            plan.initial = bytes_of_integer(plan.carrier, enumeration.default_value());
            for (const EnumTypeImpl::Enumerator& enumerator : enumeration.enumerators())
                plan.enumerators.push_back({enumerator.value, enumerator.name});
            std::sort(plan.enumerators.begin(), plan.enumerators.end(),
                      [](const Enumerator& a, const Enumerator& b) { return a.value < b.value; });
        }
        if (plan.kind == TypeKind::CHAR_16_TYPE) {
            plan.carrier = reading().wide_char_size == 4 ? TypeKind::UINT_32_TYPE : TypeKind::UINT_16_TYPE;
            program_.dependence_.wide_chars = true;
        }
        if (plan.kind == TypeKind::FLOAT_128_TYPE && program_.layout_.writer != Writer::FAST_DDS)
            throw std::invalid_argument(
                "type '" + program_.type_.name() +
                "' has a long double, whose form differs from writer to writer; it is "
                "read only where Fast DDS is known to have written it, as --writer fastdds says");
        plan.scalar_size = size_of(plan.carrier);
        plan.alignment = std::min<std::uint8_t>(plan.scalar_size, xcdr2() ? 4 : 8);
        plan.minimal_size = plan.scalar_size;
    }

    void fill_array(const ArrayTypeImpl& type, Plan& plan) {
        plan.element = &plan_in_array(type.content_type().resolved());
        plan.delimited = xcdr2() && delimits(innermost(type));
        plan.count = type.total_element_count();
        plan.dimensions = type.dimension_count();
        plan.fields = plan.element->fields;
        plan.minimal_size = capped((plan.delimited ? 4 : 0) + plan.count * plan.element->minimal_size);
    }

    /// Arrays of arrays are one array of more dimensions, with one delimiter for all of it.
    static DynamicTypeImpl innermost(DynamicTypeImpl type) {
        while (type.kind() == TypeKind::ARRAY_TYPE)
            type = ArrayTypeImpl(type).content_type().resolved();
        return type;
    }

    const Plan& plan_in_array(const DynamicTypeImpl& element) {
        const Plan& plan = plan_of_element(element);
        if (plan.kind != TypeKind::ARRAY_TYPE || !plan.delimited) return plan;
        Plan& bare = program_.plans_.emplace_back(plan);
        bare.delimited = false;
        bare.minimal_size = capped(plan.count * plan.element->minimal_size);
        return bare;
    }

    void fill_sequence(const SequenceTypeImpl& type, Plan& plan) {
        plan.element = &plan_of_element(type.content_type());
        plan.delimited = xcdr2() && (type.is_map() ? map_delimits(type) : delimits_sequence(type));
        plan.bound = type.bounds();
        plan.fields = static_cast<std::uint32_t>(capped(std::uint64_t{plan.element->fields} + 1));
        plan.minimal_size = plan.delimited ? 8 : 4;
    }

    static bool is_primitive(const DynamicTypeImpl& type) {
        return type.resolved().kind() <= TypeKind::CHAR_16_TYPE;
    }
    static bool is_enumerated(const DynamicTypeImpl& type) {
        const TypeKind kind = type.resolved().kind();
        return kind == TypeKind::ENUMERATION_TYPE || kind == TypeKind::BITMASK_TYPE;
    }

    /// Whether collections of `element` start with their size: those of all types but the primitive ones.
    bool delimits(const DynamicTypeImpl& element) {
        if (is_primitive(element)) return false;
        if (is_enumerated(element)) {
            program_.dependence_.enumerations = true;
            if (!reading().delimited_enumerations) return false;
        }
        return any_delimiter();
    }

    bool delimits_sequence(const SequenceTypeImpl& type) {
        if (!is_primitive(type.content_type())) return delimits(type.content_type());
        program_.dependence_.primitives = true;
        return reading().delimited_primitives;
    }

    bool map_delimits(const SequenceTypeImpl& type) {
        const StructTypeImpl pair(type.content_type());
        const DynamicTypeImpl value = pair.member(1).type().resolved();
        const bool by_value = delimits(value);
        const bool by_key = delimits(pair.member(0).type());
        program_.dependence_.keys |=
            !is_primitive(pair.member(0).type()) && (is_primitive(value) || is_enumerated(value));
        return by_value || (by_key && reading().keys_count);
    }

    /// Whether delimiters are written at all; some writers leave all of them out of plain samples.
    bool any_delimiter() {
        if (program_.layout_.root != Extensibility::FINAL) return true;
        program_.dependence_.delimiters = true;
        return reading().delimiters;
    }

    Form form_of(Extensibility extensibility) {
        if (extensibility == Extensibility::MUTABLE) return Form::PARAMETERS;
        const bool delimited = extensibility == Extensibility::APPENDABLE && xcdr2() && any_delimiter();
        return delimited ? Form::DELIMITED : Form::PLAIN;
    }

    void fill_aggregate(const DynamicTypeImpl& type, Extensibility extensibility, Plan& plan) {
        plan.kind = type.kind();
        if (plan.kind == TypeKind::STRUCTURE_TYPE && StructTypeImpl(type).bit_size() > 0)
            return fill_bit_set(StructTypeImpl(type), plan);
        plan.form = form_of(extensibility);
        if (plan.kind == TypeKind::UNION_TYPE) {
            fill_union(UnionTypeImpl(type), plan);
        } else {
            const StructTypeImpl structure(type);
            plan.placeholder = structure.placeholder_octet();
            plan.open_ended = opens_end(extensibility, structure.extensibility());
            fill_structure(structure, plan);
            plan.steps = steps_of(plan.members);
            plan.minimal_size = minimal_size_of_structure(plan);
        }
        program_.dependence_.origin |= !xcdr2() && plan.form == Form::PARAMETERS;
        count_fields(plan);
    }

    /// A plain form is cut safely only where the type says so: of an XCDR1 sample the last members.
    bool opens_end(Extensibility form, Extensibility declared) const {
        if (xcdr2()) return form == Extensibility::APPENDABLE;
        return form != Extensibility::MUTABLE && declared == Extensibility::APPENDABLE;
    }

    void fill_structure(const StructTypeImpl& type, Plan& plan) {
        if (type.has_parent()) fill_structure(type.parent(), plan);
        for (std::uint32_t i = 0; i < type.member_count(); ++i) {
            const MemberImpl& member = type.member(i);
            plan.index.emplace_back(member.id(), static_cast<std::uint32_t>(plan.members.size()));
            plan.members.push_back(made_member(member));
            program_.dependence_.origin |= !xcdr2() && member.is_optional();
        }
        std::sort(plan.index.begin(), plan.index.end());
    }

    std::uint64_t minimal_size_of_structure(const Plan& plan) const {
        if (plan.form != Form::PLAIN) return 4;
        std::uint64_t size = plan.placeholder ? 1 : 0;
        for (const Member& member : plan.members)
            size = capped(size + (!member.optional ? member.plan->minimal_size : xcdr2() ? 1 : 4));
        return size;
    }

    void fill_union(const UnionTypeImpl& type, Plan& plan) {
        plan.element = &plan_of(type.discriminator());
        plan.minimal_size = plan.form == Form::PLAIN ? plan.element->minimal_size : 4;
        for (std::uint32_t i = 0; i < type.member_count(); ++i) {
            const UnionMember& member = type.member(i);
            plan.members.push_back(made_member(member));
            for (const std::int64_t label : member.labels())
                plan.index.emplace_back(label, i);
            if (member.is_default()) plan.default_member = i;
        }
        std::sort(plan.index.begin(), plan.index.end());
    }

    void fill_bit_set(const StructTypeImpl& type, Plan& plan) {
        plan.form = Form::BITS;
        plan.element = &plan_of(core::xtypes::primitive_type(unsigned_of(type.bit_size())));
        plan.bits = type.bit_fields();
        plan.minimal_size = plan.element->scalar_size;
        for (std::uint32_t i = 0; i < type.member_count(); ++i)
            plan.members.push_back(made_member(type.member(i)));
        count_fields(plan);
    }

    using Key = std::pair<const core::xtypes::TypeNode*, const View*>;
    struct Known {
        const Plan* plan;
        std::uint32_t height;  // levels of nesting in the type, itself included
    };

    Program& program_;
    std::map<Key, Known> known_;
    const View* view_ = nullptr;         // of the type that is being compiled
    std::uint32_t nesting_ = 0;          // levels around the type that is being compiled
    std::uint32_t children_height_ = 0;  // of the tallest type met in it so far
};

const Member* Plan::find(std::int64_t id_or_label) const {
    const auto found =
        std::lower_bound(index.begin(), index.end(), id_or_label,
                         [](const auto& entry, std::int64_t wanted) { return entry.first < wanted; });
    if (found != index.end() && found->first == id_or_label) return &members[found->second];
    return default_member < members.size() ? &members[default_member] : nullptr;
}

std::string_view Plan::enumerator_name(std::int64_t value) const {
    const auto found = std::lower_bound(
        enumerators.begin(), enumerators.end(), value,
        [](const Enumerator& enumerator, std::int64_t wanted) { return enumerator.value < wanted; });
    return found != enumerators.end() && found->value == value ? found->name : std::string_view{};
}

Program::Program(const DynamicTypeImpl& type, const Layout& layout, const View* view)
    : type_(type.resolved()), layout_(layout) {
    if (type_.kind() != TypeKind::STRUCTURE_TYPE && type_.kind() != TypeKind::UNION_TYPE)
        throw std::invalid_argument("type '" + type.name() + "' is no structure or union");
    root_ = &Compiler(*this).root(type_, view);
}

}  // namespace zun::cdr
