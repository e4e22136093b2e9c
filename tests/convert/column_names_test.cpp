#include "convert/plan/column_names.hpp"

#include <algorithm>
#include <unordered_set>

#include <gtest/gtest.h>

#include "tests/support/case_files.hpp"

namespace zun::convert {

using test::CaseName;

namespace {

struct NamesCase {
    const char* name;
    const char* dots;
    const char* slashes;
    const char* underscores;
};
void PrintTo(const NamesCase& c, std::ostream* out) {
    *out << c.name;
}

const NamesCase cases[] = {
    {"Parts", "timestamp,[i],a.length,a[0].b[1][2],u._d,_x_", "timestamp,[i],a/length,a[0]/b[1][2],u/_d,_x_",
     "timestamp,i,a_length,a_0_b_1_2,u__d,_x_"},
    {"Spaces", "reception timestamp, source timestamp,a", "reception timestamp, source timestamp,a",
     "reception_timestamp,source_timestamp,a"},
    {"NoWord", "timestamp,1a,\xc3\xa4,\xc3\xb6.b", "timestamp,1a,\xc3\xa4,\xc3\xb6/b", "timestamp,_1a,_,b"},
    {"Alike", "timestamp,timestamp,a.b,a_b,a.b", "timestamp,timestamp_2,a/b,a_b,a/b_2",
     "timestamp,timestamp_2,a_b,a_b_2,a_b_3"},
    {"NumbersThatAreTaken", "t,a.b,a_b,a_b_2,a.b_2,a[b].3,a_B", "t,a/b,a_b,a_b_2,a/b_2,a[b]/3,a_B",
     "t,a_b,a_b_4,a_b_2,a_b_2_2,a_b_3,a_B_5"},
};

class ColumnName : public testing::TestWithParam<NamesCase> {};

TEST_P(ColumnName, HasTheForm) {
    const std::string line = GetParam().dots + std::string("\n");
    EXPECT_EQ(line, renamed_header(line, ColumnNames::DOTS));
    EXPECT_EQ(GetParam().slashes + std::string("\n"), renamed_header(line, ColumnNames::SLASHES));
    EXPECT_EQ(GetParam().underscores + std::string("\n"), renamed_header(line, ColumnNames::UNDERSCORES));
}
INSTANTIATE_TEST_SUITE_P(, ColumnName, testing::ValuesIn(cases), CaseName());

TEST(ColumnNumbers, AreFoundAtOnce) {  // by trying all that are taken it would be hours
    std::string line = "t";
    for (int i = 0; i < 200'000; ++i)
        line += ",a.b,a_b_" + std::to_string(i);
    auto names = column_names(line + '\n', ColumnNames::UNDERSCORES);
    EXPECT_EQ(400'001U, std::unordered_set<std::string>(names.begin(), names.end()).size());
}

}  // namespace

}  // namespace zun::convert
