#include "convert/plan/file_names.hpp"

#include <set>

#include <gtest/gtest.h>

namespace zun::convert {

namespace {

TEST(FileName, IsReadableAndStaysInItsFolder) {
    const std::pair<std::string, std::string> cases[] = {
        {"/camera/front/image_raw", "camera.front.image_raw"},
        {"Square", "Square"},
        {"rt/chatter", "rt.chatter"},
        {"/größe/世界", "größe.世界"},
        {"", "%"},
        {"/", "%"},
        {"..", "%2E."},
        {"/../../etc/passwd", "%2E.....etc.passwd"},
        {"//a", "%2Fa"},
        {"/.hidden", "%2Ehidden"},
        {" my robot ", "%20my robot%20"},
        {"/ ", "%20"},
        {"/con/x", "%63on.x"},
        {"LPT1", "%4CPT1"},
        {"/com10", "com10"},
        {"/a\\b:c*?\"<>|~%", "a%5Cb%3Ac%2A%3F%22%3C%3E%7C%7E%25"},
        {std::string("/a\0b\n\x7f", 6), "a%00b%0A%7F"},
        {"/a\u200b\u2028\u202eb\u2066", "a\u200b%E2%80%A8%E2%80%AEb%E2%81%A6"},
        {"/\xff\xc3(\xe2\x82\xc0\xaf\xed\xa0\x80\xc2\x85", "%FF%C3(%E2%82%C0%AF%ED%A0%80%C2%85"},
    };
    for (const auto& [topic, name] : cases)
        EXPECT_EQ(name, file_name(topic));
}

TEST(FileNames, AreAllDifferentAndFit) {
    const std::string long_name(300, 'x');
    const std::string long_wide_name = "/" + std::string(182, 'y') + "世界世界世界世界";
    const std::vector<FileSubject> subjects = {{"/a/b"},          {"/a.b"},           {"a/b"},
                                               {"/A/b"},          {"/a_b"},           {"/a"},
                                               {"/a", "std/Int"}, {"/a", "std/Char"}, {"/a~std.Int"},
                                               {"/a", "std/Int"}, {long_name},        {long_name + "1"},
                                               {long_name + "2"}, {long_wide_name}};
    const std::vector<std::string> names = file_names(subjects);
    EXPECT_EQ((std::vector<std::string>{"a.b", "a.b~2", "a.b~3", "A.b~4", "a_b", "a", "a~std.Int",
                                        "a~std.Char", "a%7Estd.Int", "a~std.Int~2"}),
              std::vector<std::string>(names.begin(), names.begin() + 10));
    EXPECT_EQ(names.size(), std::set<std::string>(names.begin(), names.end()).size());
    for (const std::string& name : names)
        EXPECT_LE(name.size(), 203U);
    EXPECT_EQ(std::string(182, 'y') + '~', names.back().substr(0, 183)) << "cut between characters";
}

TEST(FileNames, ThatFoldToOneAreToldApart) {
    const struct {
        const char *first, *second;
        bool alike;
    } cases[] = {
        {"/Größe", "/GRÖßE", true},
        {"/Größe", "/größe", true},
        {"/caf\u00e9", "/cafe\u0301", true},
        {"/\u00c9", "/e\u0301", true},
        {"/\u1e69", "/s\u0307\u0323", true},
        {"/ΣΑΣ", "/σας", true},
        {"/\u212a", "/k", true},
        {"/\uac00", "/\u1100\u1161", true},
        {"/a\u200bb", "/ab", true},
        {"/café", "/cafe", false},
        {"/世", "/界", false},
    };
    for (const auto& [first, second, alike] : cases) {
        const std::string name = file_name(second);
        EXPECT_EQ(alike ? name + "~2" : name, file_names({{first}, {second}}).back());
    }
}

TEST(CompanionNames, AreNoTopicsOwnAndKnownAgain) {
    const CompanionNames names({"a.csv", "A.2.csv", "a.2~2.csv", "a.3.csv"});
    EXPECT_EQ("a.2~3.csv", names.rows("a.csv", 2));
    EXPECT_EQ("a.4.csv", names.rows("a.csv", 4));
    for (const char* const name : {"a.2~3.csv", "a.4.csv", "a.17.csv", "a.schema.json"})
        EXPECT_TRUE(names.is_companion(name, "a.csv")) << name;
    for (const char* const name : {"a.csv", "a.3.csv", "a.b.csv", "a.4.csv.part", "a..csv", "a.4~.csv", "a.4",
                                   "b.4.csv", "ab.4.csv", "a"})
        EXPECT_FALSE(names.is_companion(name, "a.csv")) << name;
}

TEST(FileNames, AlikeButForCaseTakeNoLongerThanOthers) {
    std::vector<FileSubject> subjects(100'000, {"/abcdefghijklmnopq"});
    for (std::size_t i = 0; i < subjects.size(); ++i)
        for (std::size_t letter = 0; letter < 17; ++letter)
            if ((i >> letter) % 2 == 1) subjects[i].name[letter + 1] -= 'a' - 'A';
    EXPECT_EQ("abcdefGhiJKlmnoPQ~99905", file_names(subjects)[99'904]);
}

}  // namespace

}  // namespace zun::convert
