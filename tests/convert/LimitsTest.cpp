#include "convert/plan/Limits.hpp"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "convert/plan/Columns.hpp"
#include "convert/plan/column_list.hpp"
#include "convert/plan/limits_file.hpp"
#include "convert/plan/outliers.hpp"
#include "platform/cdr/LengthMeter.hpp"
#include "platform/xtypes/TypeBuilder.hpp"
#include "schema/TypeCatalog.hpp"
#include "tests/support/case_files.hpp"
#include "tests/support/sample_bytes.hpp"

namespace zun::convert {

using namespace core::xtypes;
using test::CaseName;

namespace {

const DynamicTypeImpl number = primitive_type(TypeKind::INT_32_TYPE);

/// Every field here has a neighbour that resembles it: a[*].b, a[*].c[*].b, grid[*][*].b, s[*], s[*][*].
DynamicTypeImpl tangled() {
    const auto b = MemberSpec{"b", sequence_type(number)};
    const auto leaf = struct_type({.name = "Leaf", .members = {b}});
    const auto inner = struct_type({.name = "Inner", .members = {b, {"c", sequence_type(leaf)}}});
    return struct_type(
        {.name = "Tangled",
         .members = {{"a", sequence_type(inner)},
                     {"ab", sequence_type(primitive_type(TypeKind::OCTET_TYPE), 5)},
                     {"grid", array_type(leaf, {2, 2})},
                     {"s", alias_type("Rows", sequence_type(sequence_type(number)))},
                     {"choice", union_type({.name = "Choice",
                                            .discriminator = number,
                                            .members = {{"one", leaf, {1}}, {"two", number, {2}}}})},
                     {"nothing", struct_type({.name = "Nothing", .members = {}})}}});
}

std::vector<std::string> header(const Limits& limits) {
    const Columns columns(limits);
    std::ostringstream line;
    std::vector<char> buffer;
    const tamber::utils::PrintFormatCsv format(columns.settings, columns.types.row, line, buffer);
    columns.check(format);
    std::istringstream cells(line.str().substr(0, line.str().size() - 1) + ",");
    std::vector<std::string> titles;
    for (std::string title; std::getline(cells, title, ',');)
        titles.push_back(title);
    titles.erase(titles.begin());
    return titles;
}

/// The number of elements that `field`, a full name with numbers, has in the header; -1 without the field.
int elements(const std::vector<std::string>& titles, const std::string& field) {
    if (std::find(titles.begin(), titles.end(), field + ".length") == titles.end()) return -1;
    int count = 0;
    const auto begins = [&](const std::string& title) {
        return title.rfind(field + '[' + std::to_string(count) + ']', 0) == 0;
    };
    while (std::any_of(titles.begin(), titles.end(), begins))
        ++count;
    return count;
}

TEST(Limits, EachFieldGetsItsOwnAndColumnsAreCounted) {
    const Lengths lengths = {{"a", 2},           {"a[*].b", 3}, {"a[*].c", 2},
                             {"a[*].c[*].b", 5}, {"ab", 4},     {"grid[*][*].b", 1},
                             {"s", 2},           {"s[*]", 6},   {"choice.one.b", 0}};
    Limits limits(tangled());
    limits.set(lengths, Limits::Origin::MEASURED);
    const auto titles = header(limits);
    const std::pair<const char*, int> wanted[] = {
        {"a", 2}, {"a[1].b", 3},       {"a[1].c", 2}, {"a[0].c[1].b", 5}, {"ab", 4},
        {"s", 2}, {"grid[1][0].b", 1}, {"s[1]", 6},   {"choice.one.b", 0}};
    for (const auto& [field, count] : wanted)
        EXPECT_EQ(count, elements(titles, field)) << field;
}

/// A structure of few names, so that fields resemble each other, with sequences in arrays in sequences.
DynamicTypeImpl random_type(std::mt19937& random, int depth) {
    const auto pick = [&](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
    std::vector<MemberSpec> members;
    for (const char* name : {"a", "A", "Ab"}) {
        if (pick(4) == 0) continue;
        DynamicTypeImpl type = depth > 0 && pick(2) == 0 ? random_type(random, depth - 1) : number;
        for (int wraps = pick(3); wraps > 0; --wraps)
            type = pick(3) == 0   ? array_type(type, {1, 2})
                   : pick(4) == 0 ? sequence_type(type, 2)
                                  : sequence_type(type);
        members.push_back({name, type});
    }
    return struct_type({.name = "Random", .members = members});
}

TEST(Limits, HoldForAnyType) {
    std::mt19937 random(7);
    for (int round = 0; round < 60; ++round) {
        const DynamicTypeImpl type = random_type(random, 3);
        Limits limits(type);
        Lengths lengths;
        for (const Limits::Field& field : limits.fields())
            lengths[field.full_name] = static_cast<std::uint32_t>(random() % 3);
        limits.set(lengths, Limits::Origin::MEASURED);
        const auto titles = header(limits);
        for (const std::string& title : titles) {
            if (!title.ends_with(".length")) continue;
            const std::string own_name = title.substr(0, title.size() - 7);
            std::string full_name = own_name;  // indices have one digit
            std::replace_if(
                full_name.begin(), full_name.end(), [](char c) { return c == '0' || c == '1'; }, '*');
            EXPECT_EQ(static_cast<int>(lengths.at(full_name)), elements(titles, own_name)) << title;
        }
    }
}

TEST(Columns, SayTheirKinds) {
    const auto type =
        schema::TypeCatalog().type_of("T", "omgidl",
                                      "enum E { X }; bitmask M { A }; struct N {};"
                                      "struct T { boolean a; octet b; int8 c; uint8 d; int16 e; uint16 f; "
                                      "int32 g; uint32 h; int64 i; uint64 j;"
                                      "float k; double l; long double m; char n; wchar o; string p; wstring "
                                      "q; E r; M s; N t; sequence<int64, 1> u; };");
    std::ostringstream list;
    print_columns(list, Limits(type), ColumnNames::DOTS);
    EXPECT_EQ(
        "a\tboolean\nb\toctet\nc\tint8\nd\tuint8\ne\tint16\nf\tuint16\ng\tint32\nh\tuint32\ni\tint64\n"
        "j\tuint64\nk\tfloat32\nl\tfloat64\nm\tfloat128\nn\tchar\no\twchar\np\tstring\nq\twstring\nr\tenum\n"
        "s\tbitmask\nt\tempty\nu.length\tlength\t1\nu[0]\tint64\n",
        list.str());
}

TEST(Limits, NameFieldsInTheOrderInWhichTheyAreMeasured) {
    const auto bytes = sequence_type(primitive_type(TypeKind::OCTET_TYPE));
    const auto part = struct_type(
        {.name = "Part", .members = {{"id", number}, {"points", bytes}, {"few", sequence_type(bytes, 4)}}});
    const auto choice = union_type(
        {.name = "Choice", .discriminator = number, .members = {{"a", bytes, {1}}, {"b", part, {2}}}});
    const auto type = struct_type({.name = "Whole",
                                   .members = {{"grid", array_type(bytes, {2, 3})},
                                               {"markers", sequence_type(part)},
                                               {"deep", sequence_type(sequence_type(bytes))},
                                               {"u", choice},
                                               {"names", map_type(string_type(), bytes)},
                                               {"text", string_type()}}});
    const auto sample = nlohmann::json::parse(R"({
        "grid": [[], [1], [], [], [], []],
        "markers": [{"id": 0, "points": [1, 2, 3], "few": [[], [], [], [1, 2, 3, 4, 5]]}, {"id": 0, "points": [], "few": []}],
        "deep": [[[1, 1, 1, 1, 1, 1, 1, 1], []], [], [], [], [], [], []],
        "u": {"_d": 2, "b": {"id": 0, "points": [1, 1, 1, 1, 1, 1], "few": [[1, 1, 1, 1, 1, 1, 1, 1, 1]]}},
        "names": [{"key": "k", "value": [1, 1, 1, 1, 1, 1, 1, 1, 1, 1]}, {"key": "k", "value": []}, {"key": "k", "value": []}],
        "text": ""})");
    cdr::LengthMeter meter(type, "topic");
    meter.measure(test::sample_bytes(type, sample));
    const Lengths wanted = {{"grid[*][*]", 1},     {"markers", 2},           {"markers[*].points", 3},
                            {"markers[*].few", 4}, {"markers[*].few[*]", 5}, {"deep", 7},
                            {"deep[*]", 2},        {"deep[*][*]", 8},        {"u.a", 0},
                            {"u.b.points", 6},     {"u.b.few", 1},           {"u.b.few[*]", 9},
                            {"names", 3},          {"names[*].value", 10}};
    EXPECT_EQ(wanted, Limits(type).lengths(meter.longest()));
}

struct RuleCase {
    const char* name;
    std::vector<const char*> rules;
    std::map<std::string, int> elements;  // all others have 2
    std::vector<const char*> unmatched;
    std::vector<const char*> beaten;
};
void PrintTo(const RuleCase& c, std::ostream* out) {
    *out << c.name;
}

const RuleCase rule_cases[] = {
    {"FullName", {"a=1"}, {{"a", 1}}, {}, {}},
    {"AnyIndex", {"a[*].c[*].b=3"}, {{"a[0].c[1].b", 3}}, {}, {}},
    {"OneIndex", {"a[1].b=3"}, {{"a[0].b", 2}, {"a[1].b", 3}}, {}, {}},
    {"OneIndexOfSeveral", {"a[*].c[1].b=0"}, {{"a[0].c[0].b", 2}, {"a[1].c[1].b", 0}}, {}, {}},
    {"OneIndexOfAnArray", {"grid[1][0].b=3"}, {{"grid[1][0].b", 3}, {"grid[0][1].b", 2}}, {}, {}},
    {"IndexAmongWildcards", {"*[1].b=3"}, {{"a[1].b", 3}, {"a[0].c[1].b", 3}, {"grid[0][1].b", 3}}, {}, {}},
    {"OneElementOfTwoFields",
     {"a[0].c[1].b=4", "a[1].b=3", "a[1].c[1].b=0", "a[*].b=1"},
     {{"a[0].b", 1}, {"a[1].b", 3}, {"a[0].c[0].b", 2}, {"a[0].c[1].b", 4}, {"a[1].c[1].b", 0}},
     {},
     {}},
    {"LaterOfTwoThatCross",
     {"a[1].c[*].b=3", "a[*].c[0].b=4"},
     {{"a[1].c[0].b", 4}, {"a[0].c[1].b", 2}, {"a[1].c[1].b", 3}},
     {},
     {}},
    {"LaterOfTwoThatCrossInAnotherOrder",
     {"a[*].c[0].b=4", "a[1].c[*].b=3"},
     {{"a[1].c[0].b", 3}, {"a[0].c[0].b", 4}, {"a[1].c[1].b", 3}},
     {},
     {}},
    {"NotIndexByIndex",
     {"a*[1]*.b=3"},
     {{"a[0].b", 2}, {"a[1].b", 3}, {"a[0].c[0].b", 2}, {"a[1].c[0].b", 3}, {"a[0].c[1].b", 3}},
     {},
     {}},
    {"ExactIsFirst", {"a=4", "*=1", "s[*]=3"}, {{"a", 4}, {"s", 1}, {"s[0]", 3}}, {}, {}},
    {"LongerLiteralIsFirst", {"a[*].c*=3", "a*=1"}, {{"a", 1}, {"a[0].b", 1}, {"a[0].c", 3}}, {}, {}},
    {"OneElementIsBeforeAll", {"a[1].b=3", "a[*].b=1"}, {{"a[0].b", 1}, {"a[1].b", 3}}, {}, {}},
    {"TopicIsBeforeNone", {"/topic:a=4", "a=1"}, {{"a", 4}}, {}, {"a=1"}},
    {"AtMostTheBound", {"ab=9"}, {{"ab", 5}}, {}, {}},
    {"LaterOfEqualsWins", {"a=4", "a=1"}, {{"a", 1}}, {}, {"a=4"}},
    {"BracketExpression", {"[as]=1"}, {{"a", 1}, {"s", 1}}, {}, {}},
    {"OtherTopic", {"/other:a=1", "/t*:s=3"}, {{"s", 3}}, {"/other:a=1"}, {}},
    {"NoSuchField", {"b=1", "number=3"}, {}, {"b=1", "number=3"}, {}},
};

class Rules : public testing::TestWithParam<RuleCase> {};

TEST_P(Rules, SetLimits) {
    const RuleCase& c = GetParam();
    std::vector<LimitRule> rules;
    for (const char* text : c.rules)
        rules.push_back(parse_limit_rule(text));
    Limits limits(tangled());
    Lengths all;
    for (const Limits::Field& field : limits.fields())
        all[field.full_name] = 2;
    limits.set(all, Limits::Origin::MEASURED);
    std::vector<RuleOutcome> outcomes(rules.size());
    limits.apply(rules, "/topic", outcomes);
    const auto titles = header(limits);
    for (const auto& [field, count] : c.elements)
        EXPECT_EQ(count, elements(titles, field)) << field;
    for (std::size_t i = 0; i < rules.size(); ++i) {
        const auto listed = [&](const auto& list) {
            return std::count(list.begin(), list.end(), rules[i].given) == 1;
        };
        const auto& [won, lost_to] = outcomes[i];
        EXPECT_EQ(listed(c.unmatched), !won && lost_to.empty()) << rules[i].given;
        EXPECT_EQ(listed(c.beaten), !won && !lost_to.empty()) << rules[i].given << " lost to " << lost_to;
    }
}
INSTANTIATE_TEST_SUITE_P(, Rules, testing::ValuesIn(rule_cases), CaseName());

TEST(LimitRule, IsRefused) {
    for (const char* text : {"", "a", "a=", "a=x", "a=-1", "a=4294967296", "=1", "/t:=1", "a=1 "})
        EXPECT_THROW(parse_limit_rule(text), std::invalid_argument) << text;
}

TEST(Limits, HoldsTheLongestUntilTheTopicFits) {
    Limits limits(struct_type({.name = "Wide",
                               .members = {{"cloud", sequence_type(number)},
                                           {"image", sequence_type(number)},
                                           {"few", sequence_type(number)}}}));
    limits.set({{"cloud", 5000}, {"image", 9000}, {"few", 900}}, Limits::Origin::MEASURED);
    limits.hold(6903);  // as many as it needs then
    EXPECT_EQ(5000U, limits.fields()[0].limit);
    EXPECT_EQ(1000U, limits.fields()[1].limit);
    EXPECT_EQ(Limits::Origin::HELD, limits.fields()[1].origin);
    limits.hold(6902);
    EXPECT_EQ(1000U, limits.fields()[0].limit);
    limits.hold(100);
    EXPECT_EQ(1000U, limits.fields()[0].limit);
    EXPECT_EQ(900U, limits.fields()[2].limit) << "short fields stay whole";
    EXPECT_EQ(2903U, limits.columns());
}

struct OutlierCase {
    const char* name;
    std::vector<std::pair<std::uint64_t, std::uint32_t>> lengths;  // of how many messages, in s
    std::uint32_t limit;
    const char* told;
};
void PrintTo(const OutlierCase& c, std::ostream* out) {
    *out << c.name;
}
const OutlierCase outlier_cases[] = {
    {"One", {{999, 3}, {1, 12'000}}, 12'000, "1 of 1000: 12000, then 3, 5 columns"},
    {"OneInAHundredAndMore", {{99, 3}, {1, 12'000}}, 12'000, ""},
    {"FewerThanOneInAHundred", {{100, 3}, {1, 12'000}}, 12'000, "1 of 101: 12000, then 3, 5 columns"},
    {"AllOthersEmpty", {{0, 0}, {1, 200}}, 200, "1 of 1000: 200, then 0, 2 columns"},
    {"HalfOfTheColumns", {{999, 1002}, {1, 2006}}, 2006, ""},
    {"MoreThanHalf", {{999, 1002}, {1, 2007}}, 2007, "1 of 1000: 2007, then 1002, 1004 columns"},
    {"FewColumns", {{999, 1}, {1, 90}}, 90, ""},
    {"TwoSteps", {{997, 3}, {2, 2000}, {1, 12'000}}, 12'000, "3 of 1000: 12000, then 3, 5 columns"},
    {"NotWorthAnother",
     {{995, 100}, {4, 150}, {1, 12'000}},
     12'000,
     "1 of 1000: 12000, then 150, 152 columns"},
    {"LimitedAlready", {{999, 3}, {1, 12'000}}, 3, ""},
};

class OutliersOf : public testing::TestWithParam<OutlierCase> {};

TEST_P(OutliersOf, AreTold) {
    const auto type = struct_type({.name = "T", .members = {{"x", number}, {"s", sequence_type(number)}}});
    TopicSpread spread;
    for (const auto& [messages, length] : GetParam().lengths) {
        spread.messages += messages;
        for (std::uint64_t i = 0; i < messages; ++i)
            spread.fields["s"].add(length);
    }
    if (spread.messages == 1) spread.messages = 1000;
    Limits limits(type);
    limits.set({{"s", GetParam().limit}}, Limits::Origin::MEASURED);
    const auto found = outliers_of(limits, limits.columns(), spread);
    std::ostringstream told;
    if (found)
        told << found->messages << " of " << spread.messages << ": " << found->longest << ", then "
             << found->next_longest << ", " << found->columns << " columns";
    EXPECT_EQ(GetParam().told, told.str());
    limits.set({{"s", GetParam().limit}}, Limits::Origin::FILE);
    EXPECT_FALSE(outliers_of(limits, limits.columns(), spread)) << "it was asked for";
}
INSTANTIATE_TEST_SUITE_P(, OutliersOf, testing::ValuesIn(outlier_cases), CaseName());

TEST(Limits, CountsWhatNoTreeCouldHold) {
    const auto cell = array_type(number, {1000, 1000, 1000});
    const auto deep =
        array_type(struct_type({.name = "S", .members = {{"cells", sequence_type(cell)}}}), {4000000});
    Limits limits(struct_type({.name = "Huge", .members = {{"n", number}, {"deep", deep}}}));
    EXPECT_EQ(4'000'000'000'004'000'001U, limits.columns());
    const Limits::Blame blame = limits.blame();
    EXPECT_EQ("deep[*].cells[*]", blame.full_name);
    EXPECT_EQ(1'000'000'000U, blame.elements);
    EXPECT_FALSE(blame.limited);
}

TEST(Limits, CostNoMoreThanTheirElements) {
    DynamicTypeImpl twice = sequence_type(number);
    for (int i = 0; i < 13; ++i)
        twice = struct_type({.name = "Twice", .members = {{"a", twice}, {"B", twice}}});
    const auto part = struct_type({.name = "Part", .members = {{"b", sequence_type(number)}}});
    Limits limits(struct_type({.name = "Many", .members = {{"parts", sequence_type(part)}, {"t", twice}}}));
    Lengths lengths;
    for (const Limits::Field& field : limits.fields())
        lengths[field.full_name] = field.full_name == "parts" ? 16'000 : 1001;
    lengths["parts[*].b"] = 1;
    limits.set(lengths, Limits::Origin::MEASURED);
    std::vector<RuleOutcome> outcomes(1);
    limits.apply({parse_limit_rule("parts[3].b=0")}, "/topic", outcomes);
    const std::uint64_t whole = limits.columns();
    EXPECT_EQ(1 + 16'000 * 2 - 1 + 8192 * 1002, whole);
    limits.hold(whole - 30'000 - 4000);
    const auto held = [](const Limits::Field& field) { return field.origin == Limits::Origin::HELD; };
    EXPECT_EQ(1 + 4000, std::count_if(limits.fields().begin(), limits.fields().end(), held));
}

TEST(Limits, AreFewExpressionsForOneElementOfEach) {
    Limits limits(tangled());
    limits.set({{"a", 16'000}, {"a[*].b", 0}, {"a[*].c", 3}, {"a[*].c[*].b", 1}}, Limits::Origin::MEASURED);
    std::vector<RuleOutcome> outcomes(2);
    limits.apply({parse_limit_rule("a[*].c[1].b=0"), parse_limit_rule("a[2].c[1].b=1")}, "/topic", outcomes);
    const auto& element_rules = limits.fields()[*limits.find("a[*].c[*].b")].element_rules;
    EXPECT_EQ(1U, element_rules[0].patterns.size());
    EXPECT_EQ(5U, element_rules[1].patterns.size()) << "one for each number of digits";
}

TEST(LimitsFile, ComesBackWithTheLongestOfSeveral) {
    const std::filesystem::path path = testing::TempDir() + "limits.yaml";
    LimitsByTopic read;
    for (const LimitsByTopic& written : {LimitsByTopic{{"/a: b", {{"x[*].y", 3}, {"z", 0}}}},
                                         LimitsByTopic{{"/a: b", {{"x[*].y", 2}}}, {"#", {{"q", 9}}}}}) {
        std::ofstream file(path);
        write_limits(file, written);
        file.close();
        read_limits(path, read);
    }
    EXPECT_EQ((LimitsByTopic{{"/a: b", {{"x[*].y", 3}, {"z", 0}}}, {"#", {{"q", 9}}}}), read);
}

}  // namespace

}  // namespace zun::convert
