// ValueBench: 1,000 values of one kind in a row, beside a bare loop over the same values.

#include <random>

#include "benchmarks/printing.hpp"

namespace {

using namespace zun::benchmarks;
using namespace zun::core::xtypes;

constexpr std::uint32_t value_count = 1000;

template <typename Value>
struct Values {
    DynamicTypeImpl type;
    std::vector<Value> values;
};

template <typename Make>
auto values_of(const DynamicTypeImpl& type, Make make) {
    std::mt19937_64 random;
    Values<std::invoke_result_t<Make, std::mt19937_64&>> made{type, {}};
    for (std::uint32_t i = 0; i < value_count; ++i)
        made.values.push_back(make(random));
    return made;
}

/// Integers of every length.
template <typename Integer>
auto integers(TypeKind kind) {
    return values_of(primitive_type(kind), [](auto& random) {
        const std::uint64_t bits = random();
        return static_cast<Integer>(static_cast<Integer>(bits) >> bits % (8 * sizeof(Integer)));
    });
}

auto octet() {
    return integers<std::uint8_t>(TypeKind::OCTET_TYPE);
}
auto int16() {
    return integers<std::int16_t>(TypeKind::INT_16_TYPE);
}
auto int32() {
    return integers<std::int32_t>(TypeKind::INT_32_TYPE);
}
auto uint32() {
    return integers<std::uint32_t>(TypeKind::UINT_32_TYPE);
}
auto int64() {
    return integers<std::int64_t>(TypeKind::INT_64_TYPE);
}
auto uint64() {
    return integers<std::uint64_t>(TypeKind::UINT_64_TYPE);
}

auto boolean() {
    return values_of(primitive_type(TypeKind::BOOLEAN_TYPE), [](auto& random) { return random() % 2 == 0; });
}

auto character() {
    return values_of(primitive_type(TypeKind::CHAR_8_TYPE),
                     [](auto& random) { return static_cast<char>('a' + random() % 26); });
}

auto float32() {
    return values_of(primitive_type(TypeKind::FLOAT_32_TYPE),
                     [](auto& random) { return std::normal_distribution<float>()(random); });
}

auto float64() {
    return values_of(primitive_type(TypeKind::FLOAT_64_TYPE),
                     [](auto& random) { return std::normal_distribution<double>()(random); });
}

/// What covariances hold: a few values again and again, most of them zero.
auto repeated_float64() {
    return values_of(primitive_type(TypeKind::FLOAT_64_TYPE),
                     [](auto& random) { return random() % 4 == 0 ? 2.5e-5 : 0.0; });
}

enum class Level : std::int32_t { NOMINAL, WARNING, FAILURE };

char* write_bare(char* out, Level level) {
    const std::string_view names[] = {"NOMINAL", "WARNING", "FAILURE"};
    return zun::benchmarks::write_bare(out, names[static_cast<std::size_t>(level)]);
}

auto enumeration() {
    const DynamicTypeImpl type =
        enum_type({.name = "Level", .enumerators = {{"NOMINAL", 0}, {"WARNING", 1}, {"FAILURE", 2}}});
    return values_of(type, [](auto& random) { return static_cast<Level>(random() % 3); });
}

auto text() {
    return values_of(string_type(), [](auto& random) { return std::string(random() % 48, 'a'); });
}

auto quoted_text() {
    return values_of(string_type(),
                     [](auto& random) { return std::string(random() % 24, 'a').append(", \"b\""); });
}

template <auto make>
void BM_Value(benchmark::State& state) {
    const auto [element, values] = make();
    const DynamicTypeImpl type =
        struct_type({.name = "T", .members = {{"values", array_type(element, {value_count})}}});
    print_rows(state, type, Payload().put(values), value_count);
}

template <auto make>
void BM_ValueBare(benchmark::State& state) {
    print_bare(state, make().values);
}

#define BENCHMARK_BOTH(make)   \
    BENCHMARK(BM_Value<make>); \
    BENCHMARK(BM_ValueBare<make>)

BENCHMARK_BOTH(boolean);
BENCHMARK_BOTH(octet);
BENCHMARK_BOTH(int16);
BENCHMARK_BOTH(int32);
BENCHMARK_BOTH(uint32);
BENCHMARK_BOTH(int64);
BENCHMARK_BOTH(uint64);
BENCHMARK_BOTH(float32);
BENCHMARK_BOTH(float64);
BENCHMARK_BOTH(repeated_float64);
BENCHMARK(BM_Value<character>);  // the bare loop is one vectorised copy
BENCHMARK_BOTH(enumeration);
BENCHMARK_BOTH(text);
BENCHMARK_BOTH(quoted_text);

}  // namespace
