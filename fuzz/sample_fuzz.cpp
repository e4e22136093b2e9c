// sample_fuzz: the engine on any type and any payload. The first bytes of the input make a type, the rest is
// a sample of it. What fails to print must fail to be measured, and the text must not depend on the room.

#include <cstdint>
#include <cstdlib>
#include <span>
#include <stdexcept>
#include <vector>

#include "platform/cdr/LengthMeter.hpp"
#include "platform/error/InputError.hpp"
#include "platform/printing/SamplePrinter.hpp"
#include "platform/xtypes/TypeBuilder.hpp"

namespace {

using namespace zun;
using namespace zun::core::xtypes;

class TypeMaker {
public:
    explicit TypeMaker(std::span<const std::uint8_t> choices) : choices_(choices) {}

    std::uint8_t choose(unsigned int below) {
        if (choices_.empty()) return 0;
        const auto choice = static_cast<std::uint8_t>(choices_.front() % below);
        choices_ = choices_.subspan(1);
        return choice;
    }

    DynamicTypeImpl structure(int depth) {
        StructSpec spec{.name = "S", .extensibility = static_cast<Extensibility>(choose(4))};
        const unsigned int count = choose(5);
        spec.placeholder_octet = count == 0 && choose(2) == 1;
        for (unsigned int i = 0; i < count; ++i)
            spec.members.push_back(
                {.name = "m" + std::to_string(i), .type = any(depth + 1), .optional = choose(4) == 0});
        return struct_type(spec);
    }

    std::span<const std::uint8_t> rest() const { return choices_; }

private:
    DynamicTypeImpl any(int depth) {
        switch (choose(depth < 6 ? 12 : 6)) {
            case 0:
                return string_type(choose(2) == 0 ? no_bound : 5);
            case 1:
                return wstring_type();
            case 2:
                return enum_type({"E", {{"A", 0}, {"B", 200}}, std::uint32_t{8} << choose(3)});
            case 3:
                return bitmask_type("B", std::uint32_t{8} << choose(4));
            case 4:
            case 5:
                return primitive_type(static_cast<TypeKind>(1 + choose(15)));
            case 6:
                return structure(depth);
            case 7:
                return array_type(any(depth + 1), {1U + choose(4)});
            case 8:
                return map_type(any(depth + 1), any(depth + 1));
            case 9:
                return bitset_type("B",
                                   {{"a", 3}, {"", 2}, {"b", static_cast<std::uint8_t>(1 + choose(59))}});
            case 10:
                return choice(depth);
            default:
                return sequence_type(any(depth + 1), choose(3) == 0 ? 3 : no_bound);
        }
    }

    DynamicTypeImpl choice(int depth) {
        const auto extensibility = static_cast<Extensibility>(choose(4));
        return union_type({"U",
                           primitive_type(choose(2) == 0 ? TypeKind::OCTET_TYPE : TypeKind::INT_64_TYPE),
                           {{"a", any(depth + 1), {0}}, {"b", any(depth + 1), {1}, choose(2) == 0}},
                           extensibility});
    }

    std::span<const std::uint8_t> choices_;
};

/// The length of the printed text in `room`; -1 for damage.
std::int64_t print(printing::SamplePrinter& printer, std::span<const std::byte> payload,
                   std::vector<char>& room) {
    DDS_PrintFormat format;
    DDS_PrintFormat_initialize(&format, 0);
    ZUNXMLSaveContext context{.text = room.data(), .capacity = static_cast<std::uint32_t>(room.size())};
    try {
        printer.print(format, context, payload);
        return context.length;
    } catch (const InputError&) {
        return -1;
    }
}

bool measures(cdr::LengthMeter& meter, std::span<const std::byte> payload) {
    try {
        meter.measure(payload);
        return true;
    } catch (const InputError&) {
        return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TypeMaker maker({data, size});
    const auto writer = static_cast<cdr::Writer>(maker.choose(4));
    const DynamicTypeImpl type = maker.structure(0);
    const auto payload = std::as_bytes(maker.rest());
    try {
        printing::SamplePrinter printer(type, "fuzz", writer);
        cdr::LengthMeter meter(type, "fuzz", writer);
        std::vector<char> small(7), large(4096);
        const bool measured = measures(meter, payload);
        const std::int64_t length = print(printer, payload, large);
        if (measured != (length >= 0) || length != print(printer, payload, small)) std::abort();
    } catch (const std::invalid_argument&) {
        return 0;  // a type that nobody can decode
    }
    return 0;
}
