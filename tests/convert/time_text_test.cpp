#include "convert/output/time_text.hpp"

#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/support/case_files.hpp"

namespace zun::convert {

using input::Time;
using test::CaseName;

namespace {

struct WriteCase {
    const char* name;
    Time time;
    const char* nanoseconds;
    const char* seconds;
    const char* rfc3339;
};
void PrintTo(const WriteCase& c, std::ostream* out) {
    *out << c.name;
}

const WriteCase write_cases[] = {
    {"Epoch", {0, 0}, "0", "0.000000000", "1970-01-01T00:00:00.000000000Z"},
    {"BelowASecond", {0, 42}, "42", "0.000000042", "1970-01-01T00:00:00.000000042Z"},
    {"Today",
     {1700000000, 123456789},
     "1700000000123456789",
     "1700000000.123456789",
     "2023-11-14T22:13:20.123456789Z"},
    {"JustBeforeTheEpoch", {-1, 999999999}, "-1", "-0.000000001", "1969-12-31T23:59:59.999999999Z"},
    {"LeapDay",
     {1709164800, 0},
     "1709164800000000000",
     "1709164800.000000000",
     "2024-02-29T00:00:00.000000000Z"},
    {"LeastSigned", Time::from_nanoseconds(INT64_MIN), "-9223372036854775808", "-9223372036.854775808",
     "1677-09-21T00:12:43.145224192Z"},
    {"MostUnsigned", Time::from_nanoseconds(UINT64_MAX), "18446744073709551615", "18446744073.709551615",
     "2554-07-21T23:34:33.709551615Z"},
};

class TimeWritten : public testing::TestWithParam<WriteCase> {};

TEST_P(TimeWritten, InEveryForm) {
    const auto text = [](TimeFormat format) {
        std::string result;
        append_time(result, GetParam().time, format);
        return result;
    };
    EXPECT_EQ(GetParam().nanoseconds, text(TimeFormat::NANOSECONDS));
    EXPECT_EQ(GetParam().seconds, text(TimeFormat::SECONDS));
    EXPECT_EQ(GetParam().rfc3339, text(TimeFormat::RFC3339));
}
INSTANTIATE_TEST_SUITE_P(, TimeWritten, testing::ValuesIn(write_cases), CaseName());

struct BoundCase {
    const char* name;
    const char* text;
    Time resolved;  // in a recording from 100 s to 200 s
};
void PrintTo(const BoundCase& c, std::ostream* out) {
    *out << c.name;
}

const BoundCase bound_cases[] = {
    {"Nanoseconds", "1700000000123456789", {1700000000, 123456789}},
    {"MostNanoseconds", "18446744073709551615", {18446744073, 709551615}},
    {"Seconds", "1700000000.05", {1700000000, 50000000}},
    {"Zero", "0", {0, 0}},
    {"TwelveDigits", "170000000000", {170, 0}},
    {"Date", "2023-11-14", {1699920000, 0}},
    {"WithoutZone", "2023-11-14T22:13:20", {1700000000, 0}},
    {"WithoutUnit", "+10", {110, 0}},
    {"Utc", "2023-11-14T22:13:20Z", {1700000000, 0}},
    {"East", "2023-11-14T23:13:20.5+01:00", {1700000000, 500000000}},
    {"West", "2023-11-14 21:43:20.000000001-00:30", {1700000000, 1}},
    {"FromTheFirst", "+10s", {110, 0}},
    {"FractionOfAMinute", "+0.5m", {130, 0}},
    {"FromTheLast", "-1.5s", {198, 500000000}},
    {"Milliseconds", "-250ms", {199, 750000000}},
    {"Hours", "+1h", {3700, 0}},
};

class Bound : public testing::TestWithParam<BoundCase> {};

TEST_P(Bound, ResolvesInARecording) {
    EXPECT_EQ(GetParam().resolved, parse_time_bound(GetParam().text).resolved({100, 0}, {200, 0}));
}
INSTANTIATE_TEST_SUITE_P(, Bound, testing::ValuesIn(bound_cases), CaseName());

TEST(BoundText, IsRefused) {
    for (const char* text :
         {"", "x", "12x", "+10x", "-s", "1700000000", "1.", "999999999999.0", "2023-11-14T", "2023-11",
          "+1.s", "18446744073709551616", "2023-02-29T00:00:00Z", "2023-11-14T24:00:00Z",
          "2023-11-14T22:13:20+1:00", "2023-11-14T22:13:20.0000000001Z", "+99999999999999999h"})
        EXPECT_THROW(parse_time_bound(text), std::invalid_argument) << text;
}

struct ThinningCase {
    const char* text;
    Thinning thinning;
};
const ThinningCase thinnings[] = {
    {"1", {1, 0}},
    {"18446744073709551615", {UINT64_MAX, 0}},
    {"100ms", {1, 100'000'000}},
    {"0.5s", {1, 500'000'000}},
    {"1.5m", {1, 90'000'000'000}},
    {"2h", {1, 7'200'000'000'000}},
    {"1.9ns", {1, 1}},
};

TEST(ThinningText, IsAnyOfBothForms) {
    for (const auto& [text, thinning] : thinnings) {
        EXPECT_EQ(thinning.messages, parse_thinning(text).messages) << text;
        EXPECT_EQ(thinning.interval_ns, parse_thinning(text).interval_ns) << text;
    }
    for (const char* text :
         {"", "0", "-1", "0ms", "0.9ns", "-5s", "+5s", "0.5", "s", "5 s", "5x", "99999999999999999h"})
        EXPECT_THROW(parse_thinning(text), std::invalid_argument) << text;
}

}  // namespace

}  // namespace zun::convert
