#include "platform/printing/NumberText.hpp"

#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/platform/printing/number_text_reference.hpp"

namespace {

using zun::test::number_text;
using zun::test::reference_text;

struct RealCase {
    double value;
    const char* as_double;
    const char* as_float;
};

TEST(NumberText, IsTheShortestThatReadsBack) {
    const double infinity = std::numeric_limits<double>::infinity();
    const RealCase cases[] = {
        {0.0, "0", "0"},
        {-0.0, "-0", "-0"},
        {1.0, "1", "1"},
        {0.1, "0.1", "0.1"},
        {-0.001, "-0.001", "-0.001"},
        {0.0001, "1e-04", "1e-04"},
        {0.00012, "0.00012", "0.00012"},
        {1.0 / 3, "0.3333333333333333", "0.33333334"},
        {12345.678, "12345.678", "12345.678"},
        {123456789.125, "123456789.125", "123456792"},
        {4194303.25, "4194303.25", "4194303.2"},
        {0.25, "0.25", "0.25"},
        {90000, "90000", "90000"},
        {100000, "1e+05", "1e+05"},
        {120000, "120000", "120000"},
        {36028797018963968.0, "36028797018963968", "3.6028797e+16"},
        {1180591620717411303424.0, "1180591620717411303424", "1.1805916e+21"},
        {1e22, "1e+22", "1e+22"},
        {1125899906842624.25, "1125899906842624.2", "1.1258999e+15"},
        {5e-324, "5e-324", "0"},
        {9.9e-324, "1e-323", "0"},
        {2.2250738585072014e-308, "2.2250738585072014e-308", "0"},
        {1.1754943508222875e-38, "1.1754943508222875e-38", "1.1754944e-38"},
        {1.7976931348623157e308, "1.7976931348623157e+308", "inf"},
        {-infinity, "-inf", "-inf"},
        {-std::nan(""), "nan", "nan"},
    };
    for (const RealCase& c : cases) {
        EXPECT_EQ(c.as_double, number_text(c.value));
        EXPECT_EQ(c.as_float, number_text(static_cast<float>(c.value)));
    }
}

template <typename Integer>
class IntegerText : public testing::Test {};
using Integers = testing::Types<std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t,
                                std::uint32_t, std::int64_t, std::uint64_t>;
TYPED_TEST_SUITE(IntegerText, Integers);

TYPED_TEST(IntegerText, IsDecimalAroundEveryPowerOfTenAndAtTheLimits) {
    using Limits = std::numeric_limits<TypeParam>;
    for (const TypeParam limit : {Limits::min(), Limits::max()})
        EXPECT_EQ(reference_text(limit), number_text(limit));
    std::uint64_t power = 1;
    for (int digits = 0; digits <= Limits::digits10; ++digits, power *= 10)
        for (const std::uint64_t magnitude : {power - 1, power, power + 1})
            for (const std::uint64_t bits : {magnitude, 0 - magnitude}) {
                const auto value = static_cast<TypeParam>(bits);
                ASSERT_EQ(reference_text(value), number_text(value));
            }
}

TEST(NumberText, IsThatOfTheStandardLibraryForAnyBits) {
    std::mt19937_64 random;
    for (int i = 0; i < 100'000; ++i) {
        const std::uint64_t bits = random();
        const auto any = std::bit_cast<double>(bits);
        const double decimal = static_cast<double>(bits % 2'000'001) / std::pow(10, i % 20 - 9);
        const auto whole = static_cast<double>(bits >> i % 64);
        for (const double value : {any, decimal, whole}) {
            ASSERT_EQ(reference_text(value), number_text(value));
            const auto narrow = static_cast<float>(value);
            ASSERT_EQ(reference_text(narrow), number_text(narrow));
        }
        const auto narrow = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
        ASSERT_EQ(reference_text(narrow), number_text(narrow));
        ASSERT_EQ(reference_text(bits >> i % 64), number_text(bits >> i % 64));
    }
}

TEST(DoubleTextCache, WritesTheSameTextAgainAndAfterOthersTookItsPlace) {
    zun::printing::DoubleTextCache cache;
    std::mt19937_64 random;
    for (int i = 0; i < 20'000; ++i) {
        const double few = static_cast<double>(random() % 600) / 7 - 20;
        for (const double value : {few, few, -few, 0.0, -0.0, -2.2250738585072014e-308}) {
            std::array<char, zun::printing::number_text_size> text;
            ASSERT_EQ(reference_text(value), std::string(text.data(), cache.write(text.data(), value)));
        }
    }
}

}  // namespace
