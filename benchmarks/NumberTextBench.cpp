// NumberTextBench: the text of numbers, beside bare std::to_chars on the same values.

#include <bit>
#include <cmath>
#include <random>
#include <type_traits>
#include <vector>

#include "benchmarks/printing.hpp"
#include "platform/printing/NumberText.hpp"

namespace {

constexpr std::size_t value_count = 20'000;

using Random = std::mt19937_64;

template <typename Real>
Real any_bits(Random& random) {
    using Bits = std::conditional_t<sizeof(Real) == 8, std::uint64_t, std::uint32_t>;
    const auto value = std::bit_cast<Real>(static_cast<Bits>(random()));
    return std::isfinite(value) ? value : 1;
}

template <typename Real>
Real measured(Random& random) {
    return static_cast<Real>(std::normal_distribution<double>()(random));
}

template <typename Real>
Real three_places(Random& random) {
    return static_cast<Real>(static_cast<double>(random() % 20'001) / 1000 - 10);
}

template <typename Number>
Number whole(Random& random) {
    return static_cast<Number>(static_cast<std::int64_t>(random() % 200'001) - 100'000);
}

template <typename Integer>
Integer any_length(Random& random) {
    const std::uint64_t bits = random();
    return static_cast<Integer>(static_cast<Integer>(bits) >> bits % (8 * sizeof(Integer)));
}

template <typename Integer>
Integer below_100(Random& random) {
    return static_cast<Integer>(random() % 100);
}

template <auto make_value>
auto values() {
    Random random;
    std::vector<std::invoke_result_t<decltype(make_value), Random&>> made(value_count);
    for (auto& value : made)
        value = make_value(random);
    return made;
}

template <auto make_value>
void BM_Text(benchmark::State& state) {
    const auto made = values<make_value>();
    std::vector<char> row(zun::benchmarks::row_size);
    for (auto _ : state) {
        char* out = row.data();
        for (const auto value : made) {
            *out++ = ',';
            out = zun::printing::write_number(out, value);
        }
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
    }
    zun::benchmarks::count(state, value_count);
}

template <auto make_value>
void BM_TextBare(benchmark::State& state) {
    zun::benchmarks::print_bare(state, values<make_value>());
}

#define BENCHMARK_BOTH(make_value)  \
    BENCHMARK(BM_Text<make_value>); \
    BENCHMARK(BM_TextBare<make_value>)

BENCHMARK_BOTH(any_bits<double>);
BENCHMARK_BOTH(measured<double>);
BENCHMARK_BOTH(three_places<double>);
BENCHMARK_BOTH(whole<double>);
BENCHMARK_BOTH(any_bits<float>);
BENCHMARK_BOTH(measured<float>);
BENCHMARK_BOTH(three_places<float>);
BENCHMARK_BOTH(whole<float>);
BENCHMARK_BOTH(any_length<std::int32_t>);
BENCHMARK_BOTH(below_100<std::int32_t>);
BENCHMARK_BOTH(any_length<std::uint64_t>);
BENCHMARK_BOTH(any_length<std::uint8_t>);

}  // namespace
