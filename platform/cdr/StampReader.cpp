#include "platform/cdr/StampReader.hpp"

#include <utility>

#include "platform/cdr/SampleDecoder.hpp"

namespace zun::cdr {

namespace {

struct Keeper : NoHandler {
    static constexpr bool wants_absent = true;
    static constexpr bool wants_excluded = false;

    template <typename Place>
    void stamp(const Place&, const Plan&, Stamp value) {
        kept = value;
    }

    std::optional<Stamp> kept;
};

}  // namespace

struct StampReader::Impl {
    SampleDecoder decoder;
};

StampReader::StampReader(const core::xtypes::DynamicTypeImpl& type, std::string source, Writer writer,
                         const std::shared_ptr<const View>& view)
    : impl_(new Impl{SampleDecoder(type, std::move(source), writer, view)}) {}

StampReader::~StampReader() = default;

std::optional<Stamp> StampReader::read(std::span<const std::byte> payload) {
    Keeper keeper;
    impl_->decoder.decode(payload, keeper);
    return keeper.kept;
}

}  // namespace zun::cdr
