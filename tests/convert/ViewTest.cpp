#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
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
        settings.explode.push_back(parse_field_rule(rule));
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

void choose(Settings& settings, const std::vector<const char*>& wanted,
            const std::vector<const char*>& unwanted) {
    for (const char* const rule : wanted)
        settings.fields.wanted.push_back(parse_field_choice(rule));
    for (const char* const rule : unwanted)
        settings.fields.unwanted.push_back(parse_field_choice(rule));
}

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
         s.blobs = Blobs::SKIP;
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

const char* const camera =
    "struct Time { long sec; unsigned long nanosec; };\n"
    "struct Duration { long sec; unsigned long nanosec; };\n"
    "struct Header { Time stamp; string frame; };\n"
    "struct S { Header header; Duration span; sequence<octet> data; octet fixed[65]; sequence<uint8, 3> few; "
    "char word[4]; sequence<char> text; sequence<Time> times; };\n";

/// A message with 65 bytes of data, logged at 1 ns, and one with 2, logged at 2 ns.
std::vector<std::string> camera_messages() {
    std::string bytes = "255";
    for (int i = 1; i < 65; ++i)
        bytes += ',' + std::to_string(i);
    const std::string fixed = R"(, "fixed": [)" + bytes + ']';
    return {
        R"({"header": {"stamp": {"sec": -1, "nanosec": 500000000}, "frame": "c"}, "span": {"sec": -2, "nanosec": 0},
             "data": [)" +
            bytes + "]" + fixed +
            R"(, "few": [250, 1], "word": ["a", ",", "\u0000", "x"], "text": ["h", "i"], "times": []})",
        R"({"header": {"stamp": {"sec": 3, "nanosec": 4000000007}, "frame": ""}, "span": {"sec": 0, "nanosec": 1},
             "data": [0, 1])" +
            fixed +
            R"(, "few": [], "word": ["\u0000", "b", "c", "d"], "text": [], "times": [{"sec": 1, "nanosec": 2}]})"};
}

const ViewCase camera_cases[] = {
    {"LongBlobsByTheirLength", [](Settings& s) { s.text_arrays = true; },
     "timestamp,header.stamp.sec,header.stamp.nanosec,header.frame,span.sec,span.nanosec,data,fixed,few."
     "length,"
     "few[0],few[1],word,text,times.length,times[0].sec,times[0].nanosec\n"
     "1,-1,500000000,c,-2,0,65,65,2,250,1,\"a,\",hi,0,nil,nil\n"
     "2,3,4000000007,\"\",0,1,2,65,0,nil,nil,\"\",\"\",1,1,2\n"},
    {"BlobsThatARuleNamesInColumns",
     [](Settings& s) {
         s.text_arrays = true;
         s.joined_stamps = true;
         only(s, "data=1");
     },
     "timestamp,header.stamp,header.frame,span,data.length,data[0],fixed,few.length,few[0],few[1],word,text,"
     "times.length,times[0]\n"
     "1,-500000000,c,-2000000000,1,255,65,2,250,1,\"a,\",hi,0,nil\n"
     "2,7000000007,\"\",1,1,0,65,0,nil,nil,\"\",\"\",1,1000000002\n"},
    {"ElapsedByAFieldAndBase64",
     [](Settings& s) {
         s.text_arrays = true;
         s.joined_stamps = true;
         s.time_format = TimeFormat::ELAPSED;
         s.clock = Clock::FIELD;
         s.clock_field = "header";
         s.blobs = Blobs::BASE64;
         only(s, "*=0");
     },
     "timestamp,header.stamp,header.frame,span,data,fixed,few,word,text,times.length\n"
     "-0.500000001,-0.500000001,c,-2.000000000,"
     "/wECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0+P0A=,"
     "/wECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0+P0A=,"
     "+gE=,\"a,\",hi,0\n"
     "7.000000006,7.000000006,\"\",0.000000001,AAE=,"
     "/wECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0+P0A=,"
     ",\"\",\"\",0\n"},
    {"HexAndCalendar",
     [](Settings& s) {
         explode(s, {"times"});
         s.text_arrays = true;
         s.joined_stamps = true;
         s.time_format = TimeFormat::RFC3339;
         s.clock = Clock::FIELD;
         s.clock_field = "header.stamp";
         s.blobs = Blobs::HEX;
     },
     "timestamp,[i],header.stamp,header.frame,span,data,fixed,few,word,text,times[i]\n"
     "1969-12-31T23:59:59.500000000Z,nil,1969-12-31T23:59:59.500000000Z,c,-2.000000000,"
     "ff0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f202122232425262728292a2b2c2d2e2f3031323"
     "334"
     "35363738393a3b3c3d3e3f40,"
     "ff0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f202122232425262728292a2b2c2d2e2f3031323"
     "334"
     "35363738393a3b3c3d3e3f40,fa01,\"a,\",hi,nil\n"
     "1970-01-01T00:00:07.000000007Z,0,1970-01-01T00:00:07.000000007Z,\"\",0.000000001,0001,"
     "ff0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f202122232425262728292a2b2c2d2e2f3031323"
     "334"
     "35363738393a3b3c3d3e3f40,,\"\",\"\",1970-01-01T00:00:01.000000002Z\n"},
};

/// Fields that are chosen; their lengths are measured, those of others are not.
const ViewCase chosen_cases[] = {
    {"Wanted",
     [](Settings& s) {
         choose(s, {"/a:markers[*].n*,la?t", "choice.word"}, {});
     },
     "timestamp,markers.length,markers[0].name,markers[1].name,markers[2].name,choice._d,choice.word,last\n"
     "1,3,m,\"\",\"n\n,\",1,nil,-1\n"
     "2,0,nil,nil,nil,2,\"\",-2\n"},
    {"Unwanted",
     [](Settings& s) {
         choose(s, {}, {"markers,*words*", "choice.list", "/b:*", "ids[*]"});
     },
     "timestamp,frame,maybe.length,maybe[0],choice._d,choice.word,last\n"
     "1,\"a,\"\"b\",1,6,1,nil,-1\n"
     "2,\"\",nil,nil,2,\"\",-2\n"},
    {"UnwantedGoesBefore",
     [](Settings& s) {
         choose(s, {"markers[*].points", "ids,frame"}, {"*s[*].*", "ids"});
     },
     "timestamp,frame\n1,\"a,\"\"b\"\n2,\"\"\n"},
    {"AUnionOfWhichOnlyTheDiscriminatorIsLeft",
     [](Settings& s) { choose(s, {"choice,last"}, {"choice.[lw]*"}); },
     "timestamp,choice._d,last\n1,1,-1\n2,2,-2\n"},
    {"TheDiscriminatorIsNotLeftAlone", [](Settings& s) { choose(s, {"choice,last"}, {"choice.*"}); },
     "timestamp,last\n1,-1\n2,-2\n"},
    {"InRows",
     [](Settings& s) {
         explode(s, {"markers[*].points"});
         choose(s, {"frame,markers[*].points"}, {"*.tags"});
     },
     "timestamp,[i],[j],frame,markers[i].points[j].x\n"
     "1,0,0,\"a,\"\"b\",1\n1,0,1,\"a,\"\"b\",2\n1,1,nil,\"a,\"\"b\",nil\n1,2,0,\"a,\"\"b\",3\n2,nil,nil,\"\","
     "nil\n"},
    {"WithLimitsAndBlobs",
     [](Settings& s) {
         choose(s, {"markers"}, {"*.points[*].tags"});
         s.blobs = Blobs::SKIP;
         only(s, "markers=1");
         only(s, "markers[*].points[*].tags=5");
         only(s, "ids=5");
     },
     "timestamp,markers.length,markers[0].name,markers[0].points.length,markers[0].points[0].x,"
     "markers[0].points[1].x\n1,1,m,2,1,2\n2,0,nil,nil,nil,nil\n"},
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
class CameraView : public View {};

void expect_rows(FakeRecording fake, const ViewCase& c) {
    Settings settings;
    c.change(settings);
    const auto folder = test::fresh_folder();
    const Report report = test::convert_all(fake, settings, folder);
    std::string csv = test::files_in(folder)["a.csv"];
    std::erase(csv, ' ');
    EXPECT_EQ(c.csv, csv);
    settings.plain_lengths = settings.overwrite = true;
    test::convert_all(fake, settings, folder);
    EXPECT_EQ(c.csv, test::files_in(folder)["a.csv"]);
    EXPECT_EQ(0U, report.recordings[0].topics[0].unreadable);
}

}  // namespace

TEST_P(View, HasTheRows) {
    expect_rows(recording_of(robot, robot_messages), GetParam());
}
INSTANTIATE_TEST_SUITE_P(Exploded, View, testing::ValuesIn(cases), CaseName());
INSTANTIATE_TEST_SUITE_P(Chosen, View, testing::ValuesIn(chosen_cases), CaseName());

TEST_P(CameraView, HasTheRows) {
    const std::vector<std::string> messages = camera_messages();
    expect_rows(recording_of(camera, {messages[0].c_str(), messages[1].c_str()}), GetParam());
}
INSTANTIATE_TEST_SUITE_P(, CameraView, testing::ValuesIn(camera_cases), CaseName());

TEST(Blobs, AreSaidToBeLeftOutByDefault) {
    const std::vector<std::string> messages = camera_messages();
    FakeRecording fake = recording_of(camera, {messages[0].c_str(), messages[1].c_str()});
    const Report report = test::convert_all(fake, {}, test::fresh_folder());
    ASSERT_EQ(1U, report.recordings[0].hints.size());
    EXPECT_EQ("left out by default: /a: data, up to 65 bytes; /a: fixed, 65 bytes; blob_files keeps them",
              report.recordings[0].hints[0].text.spelled());
    EXPECT_FALSE(report.lost_anything());
}

TEST(Blobs, GoIntoFilesThatAppearWithTheirTable) {
    const char* const idl =
        "struct Image { sequence<octet> data; }; struct S { Image left; sequence<Image> more; octet raw[2]; "
        "};";
    const char* const jpeg = R"({"left": {"data": [255, 216, 255, 0]}, "more": [], "raw": [1, 2]})";
    const char* const png =
        R"({"left": {"data": [137, 80, 78, 71, 13, 10, 26, 10]}, "more": [{"data": [7]}, {"data": []}], "raw": [0, 0]})";
    FakeRecording fake = recording_of(idl, {jpeg, png});
    fake.add_bytes(0, 9, {});  // no sample: leaves nothing behind
    fake.add(0, 10, jpeg);
    Settings settings;
    settings.blobs = Blobs::FILES;
    const auto folder = test::fresh_folder();
    for (const unsigned jobs : {1U, 4U}) {
        settings.jobs = jobs;
        test::convert_all(fake, settings, folder);
        std::map<std::string, std::string> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
            if (entry.is_regular_file())
                files[entry.path().lexically_relative(folder).string()] = test::read_file(entry.path());
        std::erase(files["a.csv"], ' ');
        EXPECT_EQ(
            "timestamp,left.data,more.length,more[0].data,more[1].data,raw\n"
            "1,a.left.data/1.jpg,0,nil,nil,a.raw/1.bin\n"
            "2,a.left.data/2.png,2,a.more.data/2.bin,a.more.data/2-1.bin,a.raw/2.bin\n"
            "10,a.left.data/4.jpg,0,nil,nil,a.raw/4.bin\n",
            files["a.csv"]);
        EXPECT_EQ(9U, files.size());
        EXPECT_EQ("\x89PNG\r\n\x1a\n", files["a.left.data/2.png"]);
        EXPECT_EQ("\7", files["a.more.data/2.bin"]);
        EXPECT_EQ("", files["a.more.data/2-1.bin"]);
        std::filesystem::create_directory(folder / "a.left.data" / "stale");
        std::filesystem::remove(folder / "a.csv");
        settings.overwrite = false;
        EXPECT_THROW(test::convert_all(fake, settings, folder), Refusal);
        settings.overwrite = true;
    }
    test::convert_all(fake, settings, folder);
    EXPECT_FALSE(std::filesystem::exists(folder / "a.left.data" / "stale"));
    EXPECT_EQ(4, std::distance(std::filesystem::directory_iterator(folder), {})) << "nothing else is there";
}

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
