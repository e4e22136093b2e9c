#include <gtest/gtest.h>

#include "schema/rosmsg/message_text.hpp"
#include "tests/schema/describe.hpp"
#include "tests/support/case_files.hpp"

namespace zun::test {
namespace {

const SchemaCase message_cases[] = {
    {"Primitives", "p/msg/T",
     "bool a\nbyte b\nchar c\nint8 d\nuint8 e\nint16 f\nuint16 g\nint32 h\nuint32 i\nint64 j\nuint64 k\n"
     "float32 l\nfloat64 m\nstring n\nwstring o\n",
     "final p/msg/T { boolean a, octet b, uint8 c, int8 d, uint8 e, int16 f, uint16 g, int32 h, uint32 i, "
     "int64 j, uint64 k, float32 l, float64 m, string n, wstring o }"},
    {"CollectionsAndBounds", "p/msg/T",
     "int8[] a\nint8[3] b\nint8[<=4] c\nstring<=5 d\nstring<=5[<=3] e\nwstring<=2[2] f",
     "final p/msg/T { int8[] a, int8[3] b, int8[<=4] c, string<5> d, string<5>[<=3] e, wstring<2>[2] f }"},
    {"ConstantsAndDefaults", "p/msg/T",
     "uint8 A=1\nuint8 B = 0x2 # two\nstring S=\nstring U = \"a#b\"\nint8 x 5\nstring<=3 s \"h i\"\n"
     "int8[<=2] v [1, 2]\nfloat32 odd this is no number\nstring e \"a=b\"",
     "final p/msg/T { int8 x, string<3> s, int8[<=2] v, float32 odd, string e }"},
    {"BlanksCommentsAndLineEnds", "p/msg/T", "\xEF\xBB\xBF# top\r\n\r\n \tint8\t\ta # x\r\nint8   b#y\r\n",
     "final p/msg/T { int8 a, int8 b }"},
    {"EmptyMessages", "p/msg/T", "uint8 ONLY=1\n",
     "final p/msg/T { final  { placeholder octet } "
     "structure_needs_at_least_one_member }"},
    {"TimeAndDuration", "p/msg/T", "time t\nduration d",
     "final p/msg/T { final builtin_interfaces/msg/Time { int32 sec, uint32 nanosec } t, "
     "final builtin_interfaces/msg/Duration { int32 sec, uint32 nanosec } d }"},
    {"TwoPartTypeName", "p/T", "int8 a", "final p/msg/T { int8 a }"},
    {"NameWithoutPackage", "T", "U u\n===\nMSG: U\nint8 a", "final T { final U { int8 a } u }"},
    {"NameOnTheBus", "p::msg::dds_::T_", "int8 a", "final p/msg/T { int8 a }"},
    {"FoldersInNames", "p/msg/sub/T", "int8 a\np/msg/sub/U b\n===\nMSG: p/sub/msg/U\nint8 c",
     "final p/msg/T { int8 a, final p/msg/U { int8 c } b }"},
    {"Units", "p/msg/T",
     "int8 a # [m]\nint8 b # angle (rad), (rad) again\nint8 c#[kg*m^2/s2]\nint8 d # ( 1/s )\nint8 e # [°C]\n"
     "int8 f # [milliseconds]\nint8 g # [m] or [deg]\nint8 h # joint(s)\nint8 i # option (A)\nint8 j # [A]\n"
     "int8 k # [1]\nint8 l # [0, 1]\nint8 m # [device units]\nint8 n # [m\nint8 o # (Mandatory) [µT]\n"
     "int8 p # [m//s]\nint8 q # []\n# [s]\nint8 r # [m²] [rads]",
     "final p/msg/T { int8 a [m], int8 b [rad], int8 c [kg*m^2/s2], int8 d [1/s], int8 e [°C], int8 f "
     "[milliseconds], int8 g, int8 h, int8 i, int8 j [A], int8 k, int8 l, int8 m, int8 n, int8 o [µT], "
     "int8 p, int8 q, int8 r [m²] }"},

    {"OneWord", "p/msg/T", "int8 a\n\nint8",
     "InputError p/msg/T:3: expected a type and a name, found 'int8'"},
    {"NameStartsWithDigit", "p/msg/T", "int8 1a",
     "InputError p/msg/T:1: expected a type and a name, found 'int8 1a'"},
    {"StrangeType", "p/msg/T", "in-t a", "InputError p/msg/T:1: expected a type, found 'in-t'"},
    {"EmptyNamePart", "p/msg/T", "p//T a", "InputError p/msg/T:1: expected a type, found 'p//T'"},
    {"OpenBracket", "p/msg/T", "int8[3 a",
     "InputError p/msg/T:1: expected an array or sequence, found 'int8[3'"},
    {"TwoDimensions", "p/msg/T", "int8[3][4] a",
     "InputError p/msg/T:1: expected a number as the size, found 'int8[3][4]'"},
    {"EmptyArray", "p/msg/T", "int8[0] a", "InputError p/msg/T:1: expected a number from 1 to 4294967295"},
    {"NoBound", "p/msg/T", "string<=x a",
     "InputError p/msg/T:1: expected a number as the size, found 'string<=x'"},
    {"HugeBound", "p/msg/T", "int8[<=4294967296] a",
     "InputError p/msg/T:1: expected a number from 1 to 4294967295"},
    {"HugerBound", "p/msg/T", "int8[<=99999999999999999999] a",
     "InputError p/msg/T:1: expected a number as the size, found 'int8[<=99999999999999999999]'"},
    {"OneNameTwice", "p/msg/T", "\nint8 a\nint8 a",
     "InputError p/msg/T:1: type 'p/msg/T': two members are called 'a'"},
    {"ContainsItself", "p/msg/T", "T[] again", "InputError p/msg/T:1: 'p/msg/T' contains itself"},
    {"ControlCharacters", "p/msg/T", "\x1b[31m a", "InputError p/msg/T:1: expected a type, found '?'"},
};

const SchemaCase section_cases[] = {
    {"BothSpellings", "p/msg/T",
     "U own\nq/V two\nq/msg/V "
     "three\n\n================================================================================\n"
     "MSG: p/msg/U\r\nint8 a\n===  \r\nMSG: q/V\nbool b\n=====\nMSG: q/msg/V\nint64 differs\n",
     "final p/msg/T { final p/msg/U { int8 a } own, final q/msg/V { boolean b } two, "
     "final q/msg/V { boolean b } three }"},
    {"BareNamesBelongToTheEnclosingPackage", "p/msg/T",
     "q/V v\nU u\n===\nMSG: q/V\nU u\n===\nMSG: q/U\nint8 q\n===\nMSG: p/U\nint8 p",
     "final p/msg/T { final q/msg/V { final q/msg/U { int8 q } u } v, final p/msg/U { int8 p } u }"},
    {"HeaderOfStdMsgs", "p/msg/T", "Header h",
     "final p/msg/T { final std_msgs/msg/Header { final builtin_interfaces/msg/Time { int32 sec, uint32 "
     "nanosec } "
     "stamp, string frame_id } h }"},
    {"HeaderOfTheOwnPackage", "p/msg/T",
     "Header h\n===\nMSG: std_msgs/Header\nint8 s\n===\nMSG: p/Header\nint8 p",
     "final p/msg/T { final p/msg/Header { int8 p } h }"},
    {"RecordingsOwnTime", "p/msg/T", "builtin_interfaces/Time t\n===\nMSG: builtin_interfaces/Time\nint8 s",
     "final p/msg/T { final builtin_interfaces/msg/Time { int8 s } t }"},
    {"OnlyTypeOfThatLastName", "p/msg/T", "q/V v\n===\nMSG: r/V\nint8 r",
     "final p/msg/T { final r/msg/V { int8 r } v }"},
    {"TwoTypesOfThatLastName", "p/msg/T", "q/V v\n===\nMSG: r/V\nint8 r\n===\nMSG: s/V\nint8 s",
     "UnknownType q/msg/V, p/msg/T:1: 'p/msg/T' needs 'q/msg/V', which has no definition"},
    {"MissingInASection", "p/msg/T", "U u\n===\nMSG: p/U\n\nq/V v",
     "UnknownType q/msg/V, p/msg/T:5: 'p/msg/U' needs 'q/msg/V', which has no definition"},
    {"BrokenSectionThatNobodyNeeds", "p/msg/T", "int8 a\n===\nMSG: p/U\nnonsense",
     "final p/msg/T { int8 a }"},
    {"BrokenSectionThatIsNeeded", "p/msg/T", "U u\n===\nMSG: p/U\nnonsense",
     "InputError p/msg/T:4: expected a type and a name, found 'nonsense'"},
    {"CycleOverSections", "p/msg/T", "U u\n===\nMSG: p/U\nT t",
     "InputError p/msg/T:4: 'p/msg/T' contains itself"},
    {"RuleThatIsNoDelimiter", "p/msg/T", "int8 a\n# next\n#===\n", "final p/msg/T { int8 a }"},
};

// Event types hold an info that is long and always the same; these cases put a short one in its place.
#define INFO "\n===\nMSG: service_msgs/ServiceEventInfo\nint8 i\n"
#define INFO_TYPE "final service_msgs/msg/ServiceEventInfo { int8 i } info"
#define UUID "final unique_identifier_msgs/msg/UUID { uint8[16] uuid } goal_id"

const SchemaCase service_cases[] = {
    {"BareServiceText", "p/srv/X_Event", "int8 a\n---\nU b" INFO "===\nMSG: p/U\nint8 u",
     "final p/srv/X_Event { " INFO_TYPE ", final p/srv/X_Request { int8 a }[<=1] request, "
     "final p/srv/X_Response { final p/msg/U { int8 u } b }[<=1] response }"},
    {"ServiceSection", "p/srv/X_Event", "===\nSRV: p/srv/sub/X\nint8 a\n---\nint8 b" INFO,
     "final p/srv/X_Event { " INFO_TYPE ", final p/srv/X_Request { int8 a }[<=1] request, "
     "final p/srv/X_Response { int8 b }[<=1] response }"},
    {"EventInMessageForm", "p/srv/X_Event",
     "service_msgs/msg/ServiceEventInfo info\np/srv/X_Request[<=1] request\n===\nIDL: p/srv/X_Request\nint8 "
     "a" INFO,
     "final p/srv/X_Event { " INFO_TYPE ", final p/srv/X_Request { int8 a }[<=1] request }"},
    {"EmptySectionBesideIdl", "p/srv/X_Response",
     "===\nSRV: p/srv/X\n---\nU u\n===\nMSG: p/U\n===\nIDL: p/U\nmodule p { module msg { struct U { short s; "
     "}; }; };",
     "final p/srv/X_Response { final p/msg/U { int16 s } u }"},
    {"ServiceInIdl", "p/srv/X_Event",
     "===\nIDL: p/srv/X\nmodule p { module srv { struct X_Request { octet a; }; struct X_Response { char b; "
     "}; }; };" INFO,
     "final p/srv/X_Event { " INFO_TYPE ", final p/srv/X_Request { octet a }[<=1] request, "
     "final p/srv/X_Response { uint8 b }[<=1] response }"},
    {"EmptyRequest", "p/srv/X_Request", "===\nSRV: p/X\n---\nint8 b",
     "final p/srv/X_Request { final  { placeholder octet } structure_needs_at_least_one_member }"},
    {"ActionGoalEvent", "p/action/X_SendGoal_Event",
     "===\nACTION: p/action/X\nint8 g\n---\nint8 r\n---\nint8 f" INFO,
     "final p/action/X_SendGoal_Event { " INFO_TYPE ", final p/action/X_SendGoal_Request { " UUID
     ", final p/action/X_Goal { int8 g } goal }[<=1] request, final p/action/X_SendGoal_Response { boolean "
     "accepted, "
     "final builtin_interfaces/msg/Time { int32 sec, uint32 nanosec } stamp }[<=1] response }"},
    {"ActionResultEvent", "p/action/X_GetResult_Event", "int8 g\n---\nint8 r\n---\nint8 f" INFO,
     "final p/action/X_GetResult_Event { " INFO_TYPE ", final p/action/X_GetResult_Request { " UUID
     " }[<=1] request, final p/action/X_GetResult_Response { int8 status, final p/action/X_Result { int8 r } "
     "result }"
     "[<=1] response }"},
    {"ActionFeedback", "p/action/X_FeedbackMessage", "int8 g\n---\nint8 r\n---\nint8 f",
     "final p/action/X_FeedbackMessage { " UUID ", final p/action/X_Feedback { int8 f } feedback }"},
    {"TextOfAnotherType", "action_msgs/msg/GoalStatusArray", "int8 g\n---\nint8 r\n---\nint8 f",
     "final action_msgs/msg/GoalStatusArray { final action_msgs/msg/GoalStatus { final "
     "action_msgs/msg/GoalInfo { " UUID ", final builtin_interfaces/msg/Time { int32 sec, uint32 nanosec } "
     "stamp } goal_info, int8 status }[] status_list }"},
    {"CancelGoal", "action_msgs/srv/CancelGoal_Response", "",
     "final action_msgs/srv/CancelGoal_Response { int8 return_code, final action_msgs/msg/GoalInfo { " UUID
     ", final builtin_interfaces/msg/Time { int32 sec, uint32 nanosec } stamp }[] goals_canceling }"},
    {"InfoThatIsNotInTheText", "p/srv/X_Event", "---",
     "final p/srv/X_Event { final service_msgs/msg/ServiceEventInfo { uint8 event_type, "
     "final builtin_interfaces/msg/Time { int32 sec, uint32 nanosec } stamp, uint8[16] client_gid, int64 "
     "sequence_number } info, final p/srv/X_Request { final  { placeholder octet } "
     "structure_needs_at_least_one_member }[<=1] request, final p/srv/X_Response { final  { placeholder "
     "octet } "
     "structure_needs_at_least_one_member }[<=1] response }"},
    {"EmptyServiceText", "p/srv/X_Event", " \n",
     "UnknownType p/srv/X_Event, p/srv/X_Event:1: the type has no definition"},
    {"FourParts", "p/action/X", "---\n---\n---\n",
     "InputError p/action/X:3: expected at most two lines '---'"},
    {"BrokenResponse", "p/srv/X_Event", "int8 a\n---\nbad",
     "InputError p/srv/X_Event:3: expected a type and a name, found 'bad'"},
};

class MessageText : public testing::TestWithParam<SchemaCase> {};

TEST_P(MessageText, GivesTheType) {
    const SchemaCase& c = GetParam();
    schema::TypeCatalog catalog;
    EXPECT_EQ(c.result, read_type(catalog, c.type_name, "ros2msg", c.text));
}
INSTANTIATE_TEST_SUITE_P(Messages, MessageText, testing::ValuesIn(message_cases), CaseName());
INSTANTIATE_TEST_SUITE_P(Sections, MessageText, testing::ValuesIn(section_cases), CaseName());
INSTANTIATE_TEST_SUITE_P(Services, MessageText, testing::ValuesIn(service_cases), CaseName());

}  // namespace
}  // namespace zun::test
