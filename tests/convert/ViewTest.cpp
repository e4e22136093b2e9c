#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "convert/plan/explode.hpp"
#include "tests/convert/FakeRecording.hpp"
#include "tests/convert/conversions.hpp"
#include "tests/support/case_files.hpp"

namespace zun::convert {

using test::CaseName;
using test::FakeRecording;

namespace {

void explode(Settings& settings, const std::vector<const char*>& rules) {
    for (const char* const rule : rules)
        settings.explode.push_back(parse_explode_rule(rule));
}

const char* const robot =
    "struct Point { long x; sequence<string> tags; };\n"
    "struct Marker { string name; sequence<Point> points; sequence<octet> colors; };\n"
    "union Choice switch (long) { case 1: sequence<long> list; case 2: string word; };\n"
    "struct S { string frame; sequence<Marker> markers; sequence<long> ids; @optional sequence<long> maybe; "
    "Choice choice; sequence<string, 4> words; long last; };\n";

/// Two messages: one with all that it can have, one with nothing.
const std::vector<const char*> robot_messages = {
    R"({"frame": "a,\"b", "markers": [
         {"name": "m", "points": [{"x": 1, "tags": ["t"]}, {"x": 2, "tags": []}], "colors": [7]},
         {"name": "", "points": [], "colors": [8, 9]},
         {"name": "n\n,", "points": [{"x": 3, "tags": ["u", "v"]}], "colors": []}],
        "ids": [4, 5], "maybe": [6], "choice": {"_d": 1, "list": [10, 11]}, "words": ["\""], "last": -1})",
    R"({"frame": "", "markers": [], "ids": [], "choice": {"_d": 2, "word": ""}, "words": [], "last": -2})"};

struct ViewCase {
    const char* name;
    std::function<void(Settings&)> change;
    const char* csv;  // spaces left out
};
void PrintTo(const ViewCase& c, std::ostream* out) {
    *out << c.name;
}

void only(Settings& settings, const char* limits) {
    settings.rules.push_back(parse_limit_rule(limits));
}

const ViewCase cases[] = {
    {"RowsSideBySide",
     [](Settings& s) {
         explode(s, {"/a:ids,words", "maybe"});
         only(s, "markers=0");
         only(s, "choice.list=0");
     },
     "timestamp,[i],frame,markers.length,ids[i],maybe[i],choice._d,choice.list.length,choice.word,words[i],"
     "last\n"
     "1,0,\"a,\"\"b\",0,4,6,1,0,nil,\"\"\"\",-1\n"
     "1,1,\"a,\"\"b\",0,5,nil,1,0,nil,nil,-1\n"
     "2,nil,\"\",0,nil,nil,2,nil,\"\",nil,-2\n"},
    {"RowsInTheMembersOfAUnion",
     [](Settings& s) {
         explode(s, {"choice.list"});
         only(s, "*=0");
     },
     "timestamp,[i],frame,markers.length,ids.length,maybe.length,choice._d,choice.list[i],choice.word,"
     "words.length,last\n"
     "1,0,\"a,\"\"b\",0,0,0,1,10,nil,0,-1\n"
     "1,1,\"a,\"\"b\",0,0,0,1,11,nil,0,-1\n"
     "2,nil,\"\",0,0,nil,2,nil,\"\",0,-2\n"},
    {"RowsOfRows",
     [](Settings& s) {
         explode(s, {"markers[*].points,markers[*].colors"});
         only(s, "*=0");
         only(s, "markers[*].points[*].tags=2");
     },
     "timestamp,[i],[j],frame,markers[i].name,markers[i].points[j].x,markers[i].points[j].tags.length,"
     "markers[i].points[j].tags[0],markers[i].points[j].tags[1],markers[i].colors[j],ids.length,maybe.length,"
     "choice._d,choice.list.length,choice.word,words.length,last\n"
     "1,0,0,\"a,\"\"b\",m,1,1,t,nil,7,0,0,1,0,nil,0,-1\n"
     "1,0,1,\"a,\"\"b\",m,2,0,nil,nil,nil,0,0,1,0,nil,0,-1\n"
     "1,1,0,\"a,\"\"b\",\"\",nil,nil,nil,nil,8,0,0,1,0,nil,0,-1\n"
     "1,1,1,\"a,\"\"b\",\"\",nil,nil,nil,nil,9,0,0,1,0,nil,0,-1\n"
     "1,2,0,\"a,\"\"b\",\"n\n,\",3,2,u,v,nil,0,0,1,0,nil,0,-1\n"
     "2,nil,nil,\"\",nil,nil,nil,nil,nil,nil,0,nil,2,nil,\"\",0,-2\n"},
    {"MeasuredSequencesInElements",
     [](Settings& s) {
         explode(s, {"markers"});
         s.blobs = cdr::View::Shape::EXCLUDED;
         only(s, "markers[*].points[1].tags=1");
         only(s, "[!m]*=0");
     },
     "timestamp,[i],frame,markers[i].name,markers[i].points.length,markers[i].points[0].x,"
     "markers[i].points[0].tags.length,markers[i].points[0].tags[0],markers[i].points[0].tags[1],"
     "markers[i].points[1].x,markers[i].points[1].tags.length,markers[i].points[1].tags[0],"
     "ids.length,maybe.length,maybe[0],choice._d,choice.list.length,choice.word,words.length,last\n"
     "1,0,\"a,\"\"b\",m,2,1,1,t,nil,2,0,nil,0,1,6,1,0,nil,0,-1\n"
     "1,1,\"a,\"\"b\",\"\",0,nil,nil,nil,nil,nil,nil,nil,0,1,6,1,0,nil,0,-1\n"
     "1,2,\"a,\"\"b\",\"n\n,\",1,3,2,u,v,nil,nil,nil,0,1,6,1,0,nil,0,-1\n"
     "2,nil,\"\",nil,nil,nil,nil,nil,nil,nil,nil,nil,0,nil,nil,2,nil,\"\",0,-2\n"},
};

FakeRecording recording_of(const char* idl, const std::vector<const char*>& messages) {
    FakeRecording fake;
    const auto a = fake.add_channel("/a", "S", idl);
    fake.channels[a].schema_encoding = "omgidl";
    for (const char* const message : messages)
        fake.add(a, fake.batches.back().size() + 1, message);
    return fake;
}

class View : public testing::TestWithParam<ViewCase> {};

}  // namespace

TEST_P(View, HasTheRows) {
    FakeRecording fake = recording_of(robot, robot_messages);
    Settings settings;
    GetParam().change(settings);
    const auto folder = test::fresh_folder();
    const Report report = test::convert_all(fake, settings, folder);
    std::string csv = test::files_in(folder)["a.csv"];
    std::erase(csv, ' ');
    EXPECT_EQ(GetParam().csv, csv);
    settings.plain_lengths = settings.overwrite = true;
    test::convert_all(fake, settings, folder);
    EXPECT_EQ(GetParam().csv, test::files_in(folder)["a.csv"]);
    EXPECT_EQ(0U, report.recordings[0].topics[0].unreadable);
}
INSTANTIATE_TEST_SUITE_P(, View, testing::ValuesIn(cases), CaseName());

TEST(Explode, WritesTheRowsThatMayNotWait) {
    const std::string text(100'000, 'x');
    std::string list;
    for (int i = 0; i < 200; ++i)
        list += (i == 0 ? "" : ",") + std::to_string(i);
    const std::string long_message = R"({"text": ")" + text + R"(", "list": [)" + list + "]}";
    FakeRecording fake = recording_of("struct S { string text; sequence<long> list; };",
                                      {long_message.c_str(), R"({"text": "", "list": [5]})"});
    std::string wanted = "timestamp,[i],text,list[i]\n";
    for (int i = 0; i < 200; ++i)  // 20 MB
        wanted += "1," + std::to_string(i) + ',' + text + ',' + std::to_string(i) + '\n';
    Settings settings;
    explode(settings, {"list"});
    const auto folder = test::fresh_folder();
    EXPECT_EQ(201U, test::convert_all(fake, settings, folder).recordings[0].topics[0].rows);
    EXPECT_TRUE(wanted + "2,0,\"\",5\n" == test::files_in(folder)["a.csv"]);
}

struct RefusedCase {
    const char* name;
    const char* rule;
    const char* problem;
};
void PrintTo(const RefusedCase& c, std::ostream* out) {
    *out << c.name;
}
const RefusedCase refused[] = {
    {"UnknownField", "/a:marker",
     "/a: 'marker' is no sequence; nearest: 'markers', 'markers[*].points', 'markers[*].points[*].list'"},
    {"NoSequence", "/a:frame", "/a: 'frame' is no sequence"},
    {"NoSuchTopic", "/b:ids", "no topic has such sequences"},
    {"NowhereAtAll", "zzz", "no topic has such sequences"},
    {"InAnArray", "grid[*].list", "/a: 'grid[*].list' lies in an array, 'grid'"},
    {"ElementOfASequence", "rows[*]", "/a: 'rows[*]' is an element of another sequence"},
    {"DifferentDepths", "ids,markers[*].points",
     "/a: 'ids' and 'markers[*].points' are nested to different depths"},
};

class WrongExplode : public testing::TestWithParam<RefusedCase> {};

TEST_P(WrongExplode, IsRefused) {
    FakeRecording fake = recording_of(
        "struct Point { long x; sequence<long> list; }; struct Marker { sequence<Point> points; };\n"
        "struct S { string frame; sequence<Marker> markers; sequence<long> ids; Point grid[2]; "
        "sequence<sequence<long> > rows; };",
        {});
    Settings settings;
    explode(settings, {GetParam().rule});
    try {
        test::convert_all(fake, settings, test::fresh_folder());
        FAIL() << "was converted";
    } catch (const WrongUsage& problem) {
        EXPECT_EQ(std::string("explode '") + GetParam().rule + "': " + GetParam().problem,
                  problem.why().spelled());
    }
}
INSTANTIATE_TEST_SUITE_P(, WrongExplode, testing::ValuesIn(refused), CaseName());

}  // namespace zun::convert
