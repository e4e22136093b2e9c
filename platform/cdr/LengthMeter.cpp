#include "platform/cdr/LengthMeter.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "platform/cdr/SampleDecoder.hpp"

namespace zun::cdr {

namespace {

constexpr std::uint32_t field_limit = 1U << 20U;

/// Tells `note` of every sequence that a walk meets: the number of its field, its length, and the indices of
/// the elements around it.
template <typename Note>
class Lengths : public NoHandler {
public:
    static constexpr bool wants_excluded = false;

    explicit Lengths(const Note& note) : note_(note) {}

    template <typename Place>
    void complex_beginning(const Place& place) {
        enter(place);
    }
    template <typename Place>
    void complex_ending(const Place& place) {
        leave(place);
    }
    template <typename Place>
    void array_beginning(const Place& place, const Plan& plan, std::uint32_t count) {
        enter(place);
        if (plan.kind == TypeKind::SEQUENCE_TYPE) note_(base_++, count, indices_);
    }
    template <typename Place>
    void array_ending(const Place& place, const Plan& plan) {
        base_ -= plan.kind == TypeKind::SEQUENCE_TYPE ? 1 : 0;
        leave(place);
    }
    void rows_beginning(const Member& member, const Plan&) { enter(member); }
    void rows_ending(const Member& member, const Plan&) { leave(member); }

private:
    void enter(const Member& member) { base_ += member.first_field; }
    void leave(const Member& member) { base_ -= member.first_field; }
    void enter(Item item) { indices_.push_back(item.index); }
    void leave(Item) { indices_.pop_back(); }

    const Note& note_;
    std::uint32_t base_ = 0;  // number of the first field of the value that the walk is in
    std::vector<std::uint32_t> indices_;
};

}  // namespace

struct LengthMeter::Impl {
    Impl(const core::xtypes::DynamicTypeImpl& type, std::string source, Writer writer,
         const std::shared_ptr<const View>& view)
        : decoder(type, std::move(source), writer, view) {
        const Program program(type, {.writer = writer}, view.get());
        if (program.root().fields > field_limit)
            throw std::invalid_argument("type '" + type.name() + "' has more than " +
                                        std::to_string(field_limit) + " sequences");
        spreads.resize(program.root().fields);
        longest.resize(program.root().fields);
    }

    template <typename Note>
    void decode(std::span<const std::byte> payload, const Note& note) {
        Lengths<Note> lengths(note);
        decoder.decode(payload, lengths);
    }

    SampleDecoder decoder;
    std::uint64_t samples = 0;
    std::vector<LengthSpread> spreads;   // by field
    std::vector<std::uint32_t> longest;  // by field, of one sample
    std::vector<std::uint32_t> filled;   // fields with elements in it
};

LengthMeter::LengthMeter(const core::xtypes::DynamicTypeImpl& type, std::string source, Writer writer,
                         const std::shared_ptr<const View>& view)
    : impl_(std::make_unique<Impl>(type, std::move(source), writer, view)) {}

LengthMeter::~LengthMeter() = default;

void LengthMeter::measure(std::span<const std::byte> payload) {
    auto& longest = impl_->longest;
    auto& filled = impl_->filled;
    for (const std::uint32_t field : filled)
        longest[field] = 0;
    filled.clear();
    impl_->decode(payload, [&](std::uint32_t field, std::uint32_t length, const auto&) {
        if (length <= longest[field]) return;
        if (longest[field] == 0) filled.push_back(field);
        longest[field] = length;
    });
    ++impl_->samples;
    for (const std::uint32_t field : filled)
        impl_->spreads[field].add(longest[field]);
}

void LengthMeter::visit(std::span<const std::byte> payload, const Visitor& visitor) {
    impl_->decode(payload, visitor);
}

std::uint64_t LengthMeter::samples() const {
    return impl_->samples;
}

const std::vector<LengthSpread>& LengthMeter::spreads() const {
    return impl_->spreads;
}

std::vector<std::uint32_t> LengthMeter::longest() const {
    std::vector<std::uint32_t> longest;
    longest.reserve(impl_->spreads.size());
    for (const LengthSpread& spread : impl_->spreads)
        longest.push_back(spread.longest());
    return longest;
}

}  // namespace zun::cdr
