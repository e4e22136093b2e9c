#include "schema/TypeCatalog.hpp"

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <system_error>

#include <gtest/gtest.h>

#include "platform/logger/Logger.hpp"
#include "schema/type_hash.hpp"
#include "tests/schema/describe.hpp"
#include "tests/support/case_files.hpp"

namespace zun::test {
namespace {

namespace fs = std::filesystem;

/// A folder of its own for each test, gone afterwards.
class CatalogFolders : public testing::Test {
protected:
    CatalogFolders()
        : folder_(fs::path(testing::TempDir()) / ("schema_test" + std::to_string(std::random_device()()))) {
        fs::create_directories(folder_);
    }
    ~CatalogFolders() override { fs::remove_all(folder_); }

    fs::path write(const std::string& path, const std::string& text) {
        fs::create_directories((folder_ / path).parent_path());
        std::ofstream(folder_ / path, std::ios::binary) << text;
        return folder_ / path;
    }

    /// The type of a topic without a definition of its own.
    std::string read(const std::string& type_name) { return read_type(catalog_, type_name, "", ""); }

    fs::path folder_;
    schema::TypeCatalog catalog_;
};

TEST_F(CatalogFolders, PackagesAreFoundByPlace) {
    write("share/p/msg/T.msg", "U u\nq/V v");
    write("share/p/msg/sub/U.msg", "int8 a");
    write("src/q/msg/V.idl", "module q { module msg { struct V { octet o; }; }; };");
    write("loose/W.msg", "int8 w");
    catalog_.add_folder(folder_);
    EXPECT_EQ("final p/msg/T { final p/msg/U { int8 a } u, final q/msg/V { octet o } v }", read("p/msg/T"));
    EXPECT_EQ("final p/msg/U { int8 a }", read("p/U"));
    EXPECT_EQ("final loose/msg/W { int8 w }", read("loose/msg/W"));
}

TEST_F(CatalogFolders, ServicesAndActionsGiveTheirTypes) {
    write("p/srv/Set_It.srv", "int8 a\n---\nint8 b");
    write("p/action/Go.action", "int8 a\n---\nint8 b\n---\nint8 c");
    write("p/srv/Old.idl",
          "module p { module srv { struct Old_Request { char a; }; struct Old_Response { char b; }; }; };");
    catalog_.add_folder(folder_ / "p");
    EXPECT_EQ(0U, read("p/srv/Old_Event").find("final p/srv/Old_Event { "));
    EXPECT_EQ("final p/srv/Set_It_Response { int8 b }", read("p/srv/Set_It_Response"));
    EXPECT_EQ(
        "final p/action/Go_FeedbackMessage { final unique_identifier_msgs/msg/UUID { uint8[16] uuid } "
        "goal_id, "
        "final p/action/Go_Feedback { int8 c } feedback }",
        read("p/action/Go_FeedbackMessage"));
    EXPECT_EQ(0U, read("p/action/Go_SendGoal_Event").find("final p/action/Go_SendGoal_Event { "));
}

TEST_F(CatalogFolders, LooseIdlIsFoundByWhatItDefines) {
    write("a/first.idl", "module m { struct A { long a; }; };");
    write("b/second.idl", "module m { struct B { A a; }; };");
    write("c/broken.idl", "module m { struct C { long } ; };");
    catalog_.add_folder(folder_);
    EXPECT_EQ("m::B { m::A { int32 a } a }", read("m::B"));
    const std::string broken = (fs::canonical(folder_) / "c/broken.idl").string();
    EXPECT_EQ("InputError " + broken + ":1:28: expected the member's name, found '}'", read("m::C"));
}

TEST_F(CatalogFolders, IdlOfPackagesIsFoundByPlaceAndByWhatItDefines) {
    write("a/msg/Box.idl", "module a { module msg { typedef char c4[4]; struct Box { c4 c; }; }; };");
    write("proj/msg/Common.idl", "module acme { struct A { char x; }; struct B { A a; }; };");
    write("share/pkg/planning/msg/Gear.msg", "uint8 status");
    write("p/msg/Bad.msg", "int8");
    catalog_.add_folder(folder_);
    EXPECT_EQ("final a/msg/Box { a/msg/c4=uint8[4] c }", read("a/msg/Box"));
    EXPECT_EQ("acme::B { acme::A { char x } a }", read("acme::B"));
    EXPECT_EQ("final pkg/msg/Gear { uint8 status }", read("pkg/msg/Gear"));
    EXPECT_NE(std::string::npos, read("p/msg/Bad").find("Bad.msg:1: expected a type and a name"));
}

TEST(TypeCatalog, StandardTypesServeLast) {
    schema::TypeCatalog catalog;
    const auto& range = catalog.find("sensor_msgs/msg/Range", "", "");
    EXPECT_TRUE(range.uncertain);
    EXPECT_EQ(2U, range.layouts.size());
    EXPECT_EQ(3U, catalog.find("shape_msgs/msg/SolidPrimitive", "ros2msg", "").layouts.size());
    EXPECT_EQ(std::set<std::string>{"sensor_msgs/msg/Range"}, range.built_in);
    EXPECT_TRUE(catalog.find("p/msg/Empty", "ros2msg", "").uncertain);
    EXPECT_EQ(std::set<std::string>{"std_msgs/msg/String"},
              catalog.find("p/msg/T", "ros2msg", "std_msgs/String s").built_in);
    EXPECT_TRUE(catalog.find("sensor_msgs/msg/Range", "ros2msg", "int8 own").built_in.empty());
    EXPECT_EQ("final std_srvs/srv/SetBool_Request { boolean data }",
              read_type(catalog, "std_srvs/srv/SetBool_Request", "", ""));
    schema::TypeCatalog without;
    without.leave_out_standard_types();
    EXPECT_THROW(without.find("sensor_msgs/msg/Range", "", ""), schema::UnknownType);
}

/// Those of WriteSplitEvent (its older layout), Log and ParameterEvent stand in recordings.
struct HashCase {
    const char* type;
    std::size_t layout;
    const char* hash;
} const hash_cases[] = {
    {"rosbag2_interfaces/msg/WriteSplitEvent", 1,
     "5ef58f7106a5cff8f5a794028c18117ee21015850ddcc567df449f41932960f8"},
    {"rcl_interfaces/msg/Log", 0, "e28ce254ca8abc06abf92773b74602cdbf116ed34fbaf294fb9f81da9f318eac"},
    {"rcl_interfaces/msg/ParameterEvent", 0,
     "043e627780fcad87a22d225bc2a037361dba713fca6a6b9f4b869a5aa0393204"},
    {"std_msgs/msg/Empty", 0, "20b625256f32d5dbc0d04fee44f43c41e51c70d3502f84b4a08e7a9c26a96312"},
    {"sensor_msgs/msg/Imu", 0, "7d9a00ff131080897a5ec7e26e315954b8eae3353c3f995c55faf71574000b5b"},
    {"sensor_msgs/msg/Range", 1, "9430b1915b94d4268ff903679e8ecd09b6a67d331bd028738ec1eeb592891ebd"},
    {"type_description_interfaces/msg/TypeDescription", 0,
     "739f2508c9fa3a6f330913ff5b9d25fb74159a077da71e1087f51a60c12a080b"},
    {"test_msgs/msg/BoundedSequences", 0, "fb361a3b3827c76a142c2190126a20a92e7e510e047f880141a7e9ef867961ed"},
    {"test_msgs/msg/WStrings", 0, "5a2c8ddb2054600023b9a180652f2ba895373217cad4b1f0fc1258c9e4424a79"},
};

TEST(TypeHash, IsThatOfRecordings) {
    schema::TypeCatalog catalog;
    for (const HashCase& c : hash_cases)
        EXPECT_EQ("RIHS01_" + std::string(c.hash),
                  schema::type_hash(catalog.find(c.type, "", "").layouts.at(c.layout)))
            << c.type;
    EXPECT_EQ(std::nullopt, schema::type_hash(catalog.type_of("std_srvs/srv/Empty_Request", "", "")));
    const char* const idl = "module m { module msg { enum E { A }; struct S { E e; }; }; };";
    EXPECT_EQ(std::nullopt, schema::type_hash(catalog.type_of("m/msg/S", "omgidl", idl)));
}

TEST_F(CatalogFolders, TheRecordingWinsThenWhatWasAddedFirst) {
    write("one/p/msg/T.msg", "int8 one");
    write("two/p/msg/T.msg", "int8 two");
    write("two/std_msgs/msg/Header.msg", "int8 old");
    catalog_.add_folder(folder_ / "one");
    catalog_.add_definition("q/msg/R", "ros2msg", "p/T t\n===\nMSG: p/T\nint8 other\n===\nMSG: q/U\nint8 u");
    catalog_.add_folder(folder_ / "two");
    EXPECT_EQ("final p/msg/T { int8 own }", read_type(catalog_, "p/msg/T", "ros2msg", "int8 own"));
    EXPECT_EQ("final p/msg/T { int8 one }", read("p/msg/T"));
    EXPECT_EQ("final q/msg/R { final p/msg/T { int8 one } t }", read("q/msg/R"));
    EXPECT_EQ("final q/msg/U { int8 u }", read("q/msg/U"));
    EXPECT_EQ("final x/msg/X { final std_msgs/msg/Header { int8 old } h, final q/msg/U { int8 u } u }",
              read_type(catalog_, "x/msg/X", "ros2msg", "Header h\nq/U u"));
}

TEST_F(CatalogFolders, MissingFolderIsASystemError) {
    EXPECT_THROW(catalog_.add_folder(folder_ / "missing"), std::system_error);
    EXPECT_THROW(catalog_.add_folder(write("file.msg", "int8 a")), std::system_error);
}

TEST_F(CatalogFolders, WhatWasUnknownIsFoundLater) {
    EXPECT_EQ("UnknownType p/msg/T, p/msg/T:1: the type has no definition", read("p/msg/T"));
    catalog_.add_definition("p/msg/T", "ros2msg", "int8 a");
    EXPECT_EQ("final p/msg/T { int8 a }", read("p/msg/T"));
}

TEST(TypeCatalog, EqualTextsGiveOneTypeAndDifferentOnesTwo) {
    schema::TypeCatalog catalog;
    const auto first = catalog.type_of("p/msg/T", "ros2msg", "int8 a");
    EXPECT_EQ(first.node(), catalog.type_of("p/msg/T", "ros2msg", "int8 a").node());
    EXPECT_EQ("final p/msg/T { int16 b }", describe(catalog.type_of("p/msg/T", "ros2msg", "int16 b")));
}

TEST(TypeCatalog, ATypeThatServesForAMissingOneIsNamed) {
    using chronicle::Logger;
    std::string heard;
    Logger::instance().listen(Logger::Level::WARN,
                              [&](Logger::Level, const std::string& message) { heard += message; });
    schema::TypeCatalog().type_of("p/msg/T", "ros2msg", "q/V v\n===\nMSG: r/V\nint8 a");
    Logger::instance().listen(Logger::Level::NONE, {});
    EXPECT_EQ("'p/msg/T' needs 'q/msg/V', which has no definition; 'r/msg/V' is used", heard);
}

TEST(TypeCatalog, OtherEncodingsAreRefused) {
    schema::TypeCatalog catalog;
    EXPECT_EQ("InputError p.T:1: a definition in the encoding 'protobuf' cannot be read",
              read_type(catalog, "p.T", "protobuf", "..."));
    EXPECT_EQ("UnknownType p/msg/T, p/msg/T:1: the type has no definition",
              read_type(catalog, "p/msg/T", "unknown", ""));
}

std::string repeated(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

/// Twenty thousand levels, steps or errors end in a short answer.
TEST(TypeCatalog, HostileTextsAreErrors) {
    const std::string struct_t = "struct T { long x[N]; };";
    const std::string nested = "InputError T:1:";
    const std::pair<std::string, std::string> cases[] = {
        {"struct T { " + repeated("sequence<", 20000), nested + "903: more than 100 levels are nested"},
        {repeated("module m {", 20000), nested + "1001: more than 100 levels are nested"},
        {repeated("struct T {", 20000), nested + "501: more than 100 levels are nested"},
        {"const long N = " + repeated("(", 20000) + ";" + struct_t,
         nested + "116: more than 100 levels are nested"},
        {"const long N = " + repeated("-", 20000) + "1;" + struct_t,
         nested + "116: more than 100 levels are nested"},
        {"const long N = " + repeated("1+", 20000) + "1;" + struct_t, "T { int32[20001] x }"},
        {repeated("}", 20000), nested + "1: expected a definition, found '}'"},
        {repeated("{", 20000), nested + "1: expected a definition, found '{'"},
        {repeated("x;", 20000) + "struct T {};", "T {}"},
        {repeated("\xff\x01", 20000), nested + "1: expected a definition, found '?'"},
    };
    for (const auto& [text, result] : cases) {
        schema::TypeCatalog catalog;
        EXPECT_EQ(result, read_type(catalog, "T", "omgidl", text)) << text.substr(0, 40);
    }
}

TEST(TypeCatalog, LongChainsOfDefinitionsAreErrorsOrQuick) {
    std::ostringstream doubled, aliases, messages;
    doubled << "const uint64 A0 = 1;";
    aliases << "typedef long B0;";
    messages << "M200 m\n";
    for (int i = 0; i < 200; ++i) {
        if (i < 60) doubled << "const uint64 A" << i + 1 << " = A" << i << " + A" << i << " - A" << i << ";";
        aliases << "typedef B" << i << " B" << i + 1 << ";";
        messages << "===\nMSG: p/M" << i + 1 << "\nM" << i << " m\n";
    }
    doubled << "struct T { long x[A60]; };";
    aliases << "struct T { B200 x; };";
    schema::TypeCatalog catalog;
    EXPECT_EQ("T { int32[1] x }", read_type(catalog, "T", "omgidl", doubled.str()));
    const std::string too_deep = "more than 100 definitions are nested";
    EXPECT_NE(std::string::npos, read_type(catalog, "T", "omgidl", aliases.str()).find(too_deep));
    EXPECT_NE(std::string::npos, read_type(catalog, "p/msg/T", "ros2msg", messages.str()).find(too_deep));
}

/// tests/data/schema/<case>.in: type name, encoding, then the text; .out: the description.
class RecordedSchema : public testing::TestWithParam<CaseFile> {};

TEST_P(RecordedSchema, GivesTheType) {
    const std::string& in = GetParam().in;
    const std::size_t name_end = in.find('\n'), encoding_end = in.find('\n', name_end + 1);
    schema::TypeCatalog catalog;
    EXPECT_EQ(GetParam().out,
              read_type(catalog, in.substr(0, name_end), in.substr(name_end + 1, encoding_end - name_end - 1),
                        in.substr(encoding_end + 1)) +
                  "\n");
}
INSTANTIATE_TEST_SUITE_P(, RecordedSchema, testing::ValuesIn(load_cases("schema")), CaseName());

}  // namespace
}  // namespace zun::test
