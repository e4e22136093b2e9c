// number_text_check: NumberText against std::to_chars on very many values; minutes, so no part of the test
// run.
//
//     number_text_check [STRIDE]     every STRIDE-th float (default 1: all of them), 40 million doubles and
//     more

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>

#include "tests/platform/printing/number_text_reference.hpp"

namespace {

long checked = 0;
long wrong = 0;

template <typename Real>
void check(Real value) {
    const std::string expected = zun::test::reference_text(value);
    const std::string found = zun::test::number_text(value);
    ++checked;
    if (expected == found) return;
    if (++wrong <= 20) std::printf("expected %s, found %s\n", expected.c_str(), found.c_str());
}

void check_floats(std::uint64_t stride) {
    for (std::uint64_t bits = 0; bits <= std::numeric_limits<std::uint32_t>::max(); bits += stride)
        check(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
}

/// The neighbourhood of every power of two, where the rounding interval is lopsided, and random significands.
void check_every_exponent() {
    std::mt19937_64 random;
    for (std::uint64_t exponent = 0; exponent < 2047; ++exponent) {
        const std::uint64_t power = exponent << 52;
        for (std::uint64_t offset = 0; offset < 200; ++offset)
            check(std::bit_cast<double>(power + offset - 100));
        for (int i = 0; i < 10'000; ++i)
            check(std::bit_cast<double>(power | random() >> 12));
    }
}

/// Numbers as people write them, and whole ones around the limits of the layout.
void check_decimals_and_whole_numbers() {
    std::mt19937_64 random;
    for (int i = 0; i < 20'000'000; ++i) {
        const std::uint64_t bits = random();
        double value = static_cast<double>(bits >> (bits % 64));
        check(value);
        for (int places = i % 12; places > 0; --places)
            value /= 10;
        check(value);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const long stride = argc > 1 ? std::atol(argv[1]) : 1;
    if (stride < 1) {
        std::puts("usage: number_text_check [STRIDE]");
        return 2;
    }
    check_every_exponent();
    check_decimals_and_whole_numbers();
    check_floats(static_cast<std::uint64_t>(stride));
    std::printf("%ld values, %ld wrong\n", checked, wrong);
    return wrong == 0 ? 0 : 1;
}
