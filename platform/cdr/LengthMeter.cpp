#include "platform/cdr/LengthMeter.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "platform/cdr/SampleDecoder.hpp"

namespace zun::cdr {

namespace {

constexpr std::uint32_t field_limit = 1U << 20U;

/// Notes the lengths that a walk meets. `base` is the number of the first field of the value it is in.
class Lengths {
public:
    static constexpr bool wants_absent = false;

    explicit Lengths(std::vector<LengthMeter::Field>& fields) : fields_(fields) {}

    void top_level_beginning() {}
    void top_level_ending() {}
    template <typename Place>
    void complex_beginning(const Place& place) {
        base_ += first_field(place);
    }
    template <typename Place>
    void complex_ending(const Place& place) {
        base_ -= first_field(place);
    }
    template <typename Place>
    void array_beginning(const Place& place, const Plan& plan, std::uint32_t count) {
        base_ += first_field(place);
        if (!plan.unbounded) return;
        std::uint32_t& longest = fields_[base_++].longest;
        longest = std::max(longest, count);
    }
    template <typename Place>
    void array_ending(const Place& place, const Plan& plan) {
        base_ -= first_field(place) + (plan.unbounded ? 1 : 0);
    }
    void unset_optional(const Member&) {}
    template <bool Swapped, typename Place>
    void scalar(const Place&, const Plan&, const std::byte*) {}
    template <typename Place>
    void string(const Place&, std::string_view) {}
    template <bool Swapped, typename Place>
    void wide_string(const Place&, WideText) {}
    template <bool Swapped>
    void scalars(const Member*, const Step&, const std::byte*) {}
    template <bool Swapped>
    void elements(const Plan&, std::uint32_t, const std::byte*) {}

private:
    static std::uint32_t first_field(const Member& member) { return member.first_field; }
    static std::uint32_t first_field(Item) { return 0; }

    std::vector<LengthMeter::Field>& fields_;
    std::uint32_t base_ = 0;
};

/// Names the unbounded sequences of a value in the order in which Lengths numbers them.
void name_fields(const Plan& plan, const std::string& name, std::vector<LengthMeter::Field>& fields) {
    if (plan.fields == 0) return;
    if (plan.unbounded) fields.push_back({name, 0});
    if (plan.kind == TypeKind::ARRAY_TYPE || plan.kind == TypeKind::SEQUENCE_TYPE) {
        std::string element = name;
        for (std::uint32_t i = 0; i < plan.dimensions; ++i)
            element += "[*]";
        name_fields(*plan.element, element, fields);
    }
    for (const Member& member : plan.members)
        name_fields(*member.plan, name.empty() ? member.name : name + "." + member.name, fields);
}

}  // namespace

struct LengthMeter::Impl {
    Impl(const core::xtypes::DynamicTypeImpl& type, std::string source, Writer writer)
        : decoder(type, std::move(source), writer) {
        const Program program(type, {.writer = writer});
        if (program.root().fields > field_limit)
            throw std::invalid_argument("type '" + type.name() + "' has more than " +
                                        std::to_string(field_limit) + " unbounded sequences");
        name_fields(program.root(), "", fields);
    }

    SampleDecoder decoder;
    std::vector<Field> fields;
};

LengthMeter::LengthMeter(const core::xtypes::DynamicTypeImpl& type, std::string source, Writer writer)
    : impl_(std::make_unique<Impl>(type, std::move(source), writer)) {}

LengthMeter::~LengthMeter() = default;

void LengthMeter::measure(std::span<const std::byte> payload) {
    Lengths lengths(impl_->fields);
    impl_->decoder.decode(payload, lengths);
}

const std::vector<LengthMeter::Field>& LengthMeter::fields() const {
    return impl_->fields;
}

void LengthMeter::reset() {
    for (Field& field : impl_->fields)
        field.longest = 0;
}

}  // namespace zun::cdr
