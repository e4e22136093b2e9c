#include <gtest/gtest.h>

#include "schema/omgidl/idl_text.hpp"
#include "tests/schema/describe.hpp"
#include "tests/support/case_files.hpp"

namespace zun::test {
namespace {

const SchemaCase type_cases[] = {
    {"Primitives", "T",
     "struct T { boolean a; octet b; char c; wchar d; short e; unsigned short f; long g; unsigned long h; "
     "long long i; unsigned long long j; float k; double l; long double m; int8 n; uint8 o; int16 p; uint16 "
     "q; "
     "int32 r; uint32 s; int64 t; uint64 u; };",
     "T { boolean a, octet b, char c, wchar d, int16 e, uint16 f, int32 g, uint32 h, int64 i, uint64 j, "
     "float32 k, "
     "float64 l, float128 m, int8 n, uint8 o, int16 p, uint16 q, int32 r, uint32 s, int64 t, uint64 u }"},
    {"StringsAndCollections", "T",
     "struct T { string a; string<5> b; wstring c; wstring<6> d; sequence<long> e; sequence<string<7>, 3> f; "
     "sequence<sequence<octet>> g; sequence<sequence<octet, 2> > h; long i[2][3], j; map<string, short> k; "
     "map<long, string<4>, 9> l; };",
     "T { string a, string<5> b, wstring c, wstring<6> d, int32[] e, string<7>[<=3] f, octet[][] g, "
     "octet[<=2][] h, "
     "int32[2][3] i, int32 j, map final  { string key, int16 value }[] k, "
     "map final  { int32 key, string<4> value }[<=9] l }"},
    {"Typedefs", "m::T",
     "module m { typedef long A, B[2], C[2][3]; typedef sequence<B, 4> D; typedef D E; struct T { A a; B b; "
     "C c; E e; }; };",
     "m::T { m::A=int32 a, m::B=int32[2] b, m::C=int32[2][3] c, m::E=m::D=m::B=int32[2][<=4] e }"},
    {"Enumerations", "T",
     "enum E { A, @value(5) B, C, }; @bit_bound(8) enum F { @value(-1) X, @default_literal Y }; struct T { E "
     "e; F f; };",
     "T { enum<32> E { A=0*, B=5, C=6 } e, enum<8> F { X=-1, Y=0* } f }"},
    {"BitmasksAndBitsets", "T",
     "@bit_bound(12) bitmask M { @position(0) A, B }; bitmask N { C }; bitset R { bitfield<2> r; }; "
     "bitset S : R { bitfield<3> a; bitfield<4>; bitfield<10, short> b, c; bitfield<1> d; }; struct T { M m; "
     "N n; S s; };",
     "T { bitmask<12> M m, bitmask<32> N n, final S bits 30 { uint8 r:0+2, uint8 a:2+3, int16 b:9+10, int16 "
     "c:19+10, "
     "boolean d:29+1 } s }"},
    {"Unions", "T",
     "enum E { RED, BLUE }; typedef E F; const long TWO = 2; "
     "@final union U switch (long) { case 1: case TWO + 1: long a; case -4: @id(9) short b; default: string "
     "c; }; "
     "union V switch (F) { case RED: octet r; case E::BLUE: octet b[2]; }; "
     "union W switch (@key boolean) { case TRUE: long t; }; union X switch (char) { case 'a': default: long "
     "t; }; "
     "union Y switch (enum Z { P, Q }) { case Q: long q; }; struct T { U u; V v; W w; X x; Y y; };",
     "T { final U switch int32 { 1: 3: int32 a, -4: @9 int16 b, default: string c } u, "
     "V switch F=enum<32> E { RED=0*, BLUE=1 } { 0: octet r, 1: octet[2] b } v, W switch boolean { 1: int32 "
     "t } w, "
     "X switch char { 97: default: int32 t } x, Y switch enum<32> Y::Z { P=0*, Q=1 } { 1: int32 q } y }"},
    {"LargeLabelsAndFlags", "m::T",
     "module f { bitmask M { A, @position(4) B, C }; }; module m { const long N = f::M::C + f::A; "
     "union U switch (uint64) { case 18446744073709551615: long a[N]; }; "
     "union V switch (f::M) { case C: long c; }; struct T { U u; V v; }; };",
     "m::T { m::U switch uint64 { -1: int32[33] a } u, m::V switch bitmask<32> f::M { 32: int32 c } v }"},
    {"BaseThroughAnAlias", "B",
     "bitset A { bitfield<3> a; }; typedef A C; typedef C D; bitset B : D { bitfield<2> b; };",
     "final B bits 5 { uint8 a:0+3, uint8 b:3+2 }"},
    {"HugeBounds", "T", "struct T { sequence<octet, 4294967295> a; string<4294967295> b; };",
     "T { octet[] a, string b }"},
    {"LabelsOfAnEnumerationElsewhere", "b::U",
     "module a { enum E { ON, OFF }; }; module b { union U switch (a::E) { case OFF: long x; }; };",
     "b::U switch enum<32> a::E { ON=0*, OFF=1 } { 1: int32 x }"},
    {"Bases", "D", "@mutable struct B { long a; }; typedef B C; @mutable struct D : C { long b; };",
     "mutable D : mutable B { int32 a } { int32 b }"},
    {"NoMembers", "T", "struct T {};", "T {}"},
    {"TypesInTypes", "T", "struct T { struct U { long a; } u; enum E { X } e; }; ",
     "T { T::U { int32 a } u, enum<32> T::E { X=0* } e }"},
    {"ForwardDeclarations", "T", "struct U; union V; struct T { U u; }; struct U { long a; };",
     "T { U { int32 a } u }"},
};

const SchemaCase annotation_cases[] = {
    {"Extensibility", "T",
     "@final struct A {}; @appendable struct B {}; @extensibility(FINAL) struct C {}; "
     "@extensibility(MUTABLE) "
     "union D switch (long) { case 1: long x; }; struct T { A a; B b; C c; D d; };",
     "T { final A {} a, appendable B {} b, final C {} c, mutable D switch int32 { 1: int32 x } d }"},
    {"RosTypesAreFinal", "p/msg/T", "module p { module msg { struct T { long a; }; }; };",
     "final p/msg/T { int32 a }"},
    {"RosTypesOnTheBus", "p::msg::dds_::T_",
     "module p { module msg { module dds_ { struct T_ { long a; }; }; }; };", "final p/msg/T { int32 a }"},
    {"Members", "T",
     "struct T { @key long a; @optional long b; @optional(FALSE) @key(TRUE) long c; @optional(value=true) "
     "long d; "
     "@key @optional @id(0x10) long e, f[2]; };",
     "T { int32 a, @optional int32 b, int32 c, @optional int32 d, @optional @16 int32 e, "
     "@optional @16 int32[2] f }"},
    {"HashedIds", "T",
     "struct T { @hashid long color; @hashid(\"shapesize\") long b; @hashid(\"\") long d; long next; };",
     "T { @262528368 int32 color, @74944730 int32 b, @31487874 int32 d, int32 next }"},
    {"AutomaticIds", "T",
     "@autoid(HASH) struct A { long color; @id(7) long b; }; @autoid struct B { long color; }; "
     "@autoid(SEQUENTIAL) struct C { long color; }; struct T { A a; B b; C c; };",
     "T { A { @262528368 int32 color, @7 int32 b } a, B { @262528368 int32 color } b, C { int32 color } c }"},
    {"Defaults", "T",
     "enum E { A, B }; struct T { @default(5) long a; @default(value=-1) short b; @default(1.5) float c; "
     "@default(TRUE) boolean d; @default(\"x\" \"y\") string e; @default(B) E f; @default('a') char g; "
     "@default(255) octet h; @default(2) double i; @default(1 << 63) uint64 j; };",
     "T { int32 a = 5, int16 b = -1, float32 c = 1.5, boolean d = true, string e = \"xy\", "
     "enum<32> E { A=0*, B=1 } f = 1, char g = 97, octet h = 255, float64 i = 2, uint64 j = "
     "9223372036854775808 }"},
    {"DefaultsThatDoNotFit", "T",
     "struct T { @default(\"(1, 2)\") sequence<long> a; @default(nan) double b; @default(-1) octet c; "
     "@default(1.5) "
     "long d; @default(1) string e; };",
     "T { int32[] a, float64 b, octet c, int32 d, string e }"},
    {"UnknownOnes", "T",
     "@topic @nested @x::y(a = \"(\", b = ((1), 2)) @data_representation(XCDR1|XCDR2) struct T { @external "
     "@unit(value = \"m\") "
     "@range(min=1, max=2) @verbatim(language=\"c\", text=\"} ; //\") @must_understand long a; "
     "sequence<@external long> b; };",
     "T { int32 a [m], int32[] b }"},
    {"UnitsThatAreNoText", "T", "struct T { @unit(%) long a; @unit long b; @unit(m/(s)) long c; };",
     "T { int32 a, int32 b, int32 c }"},
};

const SchemaCase scope_cases[] = {
    {"InnermostFirst", "a::b::T",
     "struct X { octet o; }; module a { struct X { short s; }; module b { struct T { X x; ::X y; a::X z; "
     "::a::X w; }; "
     "struct X { long l; }; }; };",
     "a::b::T { a::b::X { int32 l } x, X { octet o } y, a::X { int16 s } z, a::X { int16 s } w }"},
    {"ReopenedModules", "::a::T", "module a { struct X { octet o; }; }; module a { struct T { X x; }; };",
     "a::T { a::X { octet o } x }"},
    {"EscapedMembers", "T",
     "struct T { long _long; ::_module::X x; }; module _module { struct X { long module; }; };",
     "T { int32 long, module::X { int32 module } x }"},
    {"ScopeAfterAnAnnotation", "T",
     "module m { struct P { long a; }; enum E { X }; }; union U switch (@key ::m::E) { case X: long a; }; "
     "struct T { @key ::m::P p; @x::y m::P q; U u; };",
     "T { m::P { int32 a } p, m::P { int32 a } q, U switch enum<32> m::E { X=0* } { 0: int32 a } u }"},
    {"Macros", "T",
     "#define N 3 // three\n#define M (N * \\\n 2)\n#define EXPORT\n#define F(x) x\n"
     "EXPORT struct T { long a[M]; long b[_N]; };\n#undef N\nconst long N = 4;",
     "T { int32[6] a, int32[4] b }"},
    {"Branches", "T",
     "#define V 0x10\nstruct T {\n#ifdef V\n#ifndef V\n!\n#else\nlong a;\n#endif\n#elif 1\n!\n#endif\n"
     "#if !defined(W) && (V >= 16 || X)\nlong b;\n#if V == 1\n!\n#elif defined V\nlong c;\n#else\n!\n#endif\n"
     "#else\n#if 1\n!\n#else\n!\n#endif\n#endif\n};",
     "T { int32 a, int32 b, int32 c }"},
    {"NoCondition", "T", "struct T {\n#if 1 +\nlong a; };\n#endif",
     "InputError T:2:1: the condition has no value"},
    {"OnlyTypeOfTheName", "T", "module m { struct T { long a; }; };", "m::T { int32 a }"},
    {"SameDefinitionTwice", "T", "typedef long A; typedef long A; struct T { A a; };", "T { A=int32 a }"},
    {"CommentsAndPreprocessor", "T",
     "#ifndef G\n#define G\n#include <x.idl>\n// one { \n/* two {\n ' */ struct T { // three\n long a; "
     "};\n#pragma keylist T a\n#endif",
     "T { int32 a }"},
    {"ByteOrderMark", "T", "\xEF\xBB\xBFstruct T { long a; };", "T { int32 a }"},
};

const SchemaCase constant_cases[] = {
    {"Operators", "T",
     "struct T { long a[1 | 6], b[7 ^ 2], c[6 & 3], d[1 << 2 + 1], e[16 >> 2], f[2 + 3 * 4], g[9 - 4 - 3], "
     "h[13 / 4], "
     "i[13 % 8], j[~-5], k[-(-2)], l[(2 + 3) * 4], m[+3]; };",
     "T { int32[7] a, int32[5] b, int32[2] c, int32[8] d, int32[4] e, int32[14] f, int32[2] g, int32[3] h, "
     "int32[5] i, "
     "int32[4] j, int32[2] k, int32[20] l, int32[3] m }"},
    {"Literals", "T",
     "struct T { long a[0x1F], b[010], c['A'], d['\\n'], e['\\x41'], f['\\101'], g[TRUE], h['\xC3\xA4']; "
     "string<0Xa> i; };",
     "T { int32[31] a, int32[8] b, int32[65] c, int32[10] d, int32[65] e, int32[65] f, int32[1] g, "
     "int32[228] h, "
     "string<10> i }"},
    {"Names", "m::T",
     "const long N = m::M * 2; module m { enum E { A, @value(3) B }; const short M = B; const E L = E::B; "
     "struct T { long a[N], b[M + B], c[E::B]; sequence<octet, (N >> 1)> d; sequence<sequence<octet, N>> e; "
     "}; };",
     "m::T { int32[6] a, int32[6] b, int32[3] c, octet[<=3] d, octet[<=6][] e }"},
    {"TextConstants", "T",
     "const string S = \"a\" \"b\\\"c\"; const wstring W = L\"w\"; const wchar C = L'c'; "
     "const float F = 1.5e3 * 2; const double D = .5 + 1.f; struct T { long a[C]; };",
     "T { int32[99] a }"},

    {"DividedByZero", "T", "const long N = 4 / (2 - 2); struct T { long a[N]; };",
     "InputError T:1:18: the expression has no 64-bit value"},
    {"TooLarge", "T", "struct T { long a[0xFFFFFFFFFFFFFFFF * 2]; };",
     "InputError T:1:38: the expression has no 64-bit value"},
    {"ShiftedTooFar", "T", "struct T { long a[1 << 64]; };",
     "InputError T:1:21: the expression has no 64-bit value"},
    {"NumberTooLarge", "T", "struct T { long a[99999999999999999999]; };",
     "InputError T:1:19: '99999999999999999999' is no number of 64 bits"},
    {"BadOctal", "T", "struct T { long a[08]; };", "InputError T:1:19: '08' is no number of 64 bits"},
    {"TextAsSize", "T", "struct T { long a[\"x\"]; };", "InputError T:1:19: expected an integer"},
    {"ZeroBound", "T", "struct T {\n  string<0> a; };",
     "InputError T:2:10: expected a number from 1 to 4294967295"},
    {"UnknownName", "T", "struct T {\n  long a[m::N]; };",
     "InputError T:2:10: the constant 'm::N' is not defined"},
    {"TypeAsConstant", "T", "struct N {}; struct T { long a[N]; };", "InputError T:1:32: 'N' is no constant"},
    {"CyclicConstants", "T", "const long A = B; const long B = A; struct T { long a[A]; };",
     "InputError T:1:34: 'A' contains itself"},
};

const SchemaCase error_cases[] = {
    {"MissingSemicolon", "a::T", "module a {\n  struct T {\n    long a\n  };\n};",
     "InputError a::T:4:3: expected ';', found '}'"},
    {"CutText", "T", "struct T { long a;", "InputError T:1:19: expected a name, found the end of the text"},
    {"OpenComment", "T", "struct T { /* long a; };", "InputError T:1:12: the comment has no end"},
    {"OpenString", "T", "struct T { @default(\"x\n) string a; };",
     "InputError T:1:21: the literal has no closing quote"},
    {"LongCharacter", "T", "const char C = 'ab'; struct T { long a[C]; };",
     "InputError T:1:16: ''ab'' is no single character"},
    {"NoDefinition", "T", "\n  Foo bar;", "InputError T:2:3: expected a definition, found 'Foo'"},
    {"OpenParenthesis", "T", "@x(1 struct T {};",
     "InputError T:1:18: expected ')', found the end of the text"},
    {"UnknownType", "a::T", "module a { struct T {\n  long a;\n  b::U u; }; };",
     "UnknownType b::U, a::T:3:3: 'a::T' needs 'b::U', which has no definition"},
    {"NeverDefined", "T", "struct U; struct T { sequence<U> u; };",
     "UnknownType U, T:1:31: 'T' needs 'U', which has no definition"},
    {"ContainsItself", "T", "struct T { long a;\n sequence<T> again; };",
     "InputError T:2:11: 'T' contains itself"},
    {"CycleOverAliases", "T", "typedef U V; struct U { V v; }; struct T { U u; };",
     "InputError T:1:9: 'U' contains itself"},
    {"ConstantAsType", "T", "const long N = 1; struct T { N n; };",
     "InputError T:1:12: 'N' is a constant, no type"},
    {"EnumeratorAsType", "T", "enum E { A }; struct T { A a; };",
     "InputError T:1:10: 'A' is an enumerator, no type"},
    {"BaseThatIsNoStructure", "T", "enum E { A };\nstruct T : E {};",
     "InputError T:2:8: type 'T': the base 'E' is no structure"},
    {"BaseThatIsNoBitset", "T", "enum E { A };\nbitset T : E { bitfield<1> a; };",
     "InputError T:2:12: the base is no bit set"},
    {"OneNameTwice", "T", "struct T { long a; long a; };",
     "InputError T:1:8: type 'T': two members are called 'a'"},
    {"OneLabelTwice", "T", "union T switch (long) { case 1: long a; case 1: long b; };",
     "InputError T:1:7: type 'T': two members have the label 1"},
    {"LabelThatIsNoNumber", "T", "union T switch (long) { case 1.5: long a; };",
     "InputError T:1:30: expected an integer"},
    {"NoLabel", "T", "union T switch (long) { long a; };",
     "InputError T:1:25: expected 'case' or 'default', found 'long'"},
    {"TwoMembersOfACase", "T", "union T switch (long) { case 1: long a, b; };",
     "InputError T:1:7: a case of a union has one member"},
    {"BitBoundTooLarge", "T", "@bit_bound(33) enum T { A };",
     "InputError T:1:12: expected a number from 1 to 32"},
    {"IdTooLarge", "T", "struct T { @id(0x10000000) long a; };",
     "InputError T:1:16: expected a number from 0 to 268435455"},
    {"WrongExtensibility", "T", "@extensibility(LOOSE) struct T {};",
     "InputError T:1:2: expected FINAL, APPENDABLE or MUTABLE"},
    {"ArrayTooLarge", "T", "struct T { long a[65536][65536]; };",
     "InputError T:1:18: type 'array': an array has fewer than 2^32 elements"},
    {"AnyValue", "T", "struct T {\n any a; };", "InputError T:2:2: values of type 'any' cannot be converted"},
    {"Interface", "T", "local interface T { long f(in long x); };",
     "InputError T:1:7: a definition of kind 'interface' has no values to convert"},
    {"UnneededOnes", "T",
     "interface I { void f(); };\nvaluetype V { public long a; };\nstruct U { broken };\n} struct T { long "
     "a; };",
     "T { int32 a }"},
};

class IdlText : public testing::TestWithParam<SchemaCase> {};

TEST_P(IdlText, GivesTheType) {
    const SchemaCase& c = GetParam();
    schema::TypeCatalog catalog;
    EXPECT_EQ(c.result, read_type(catalog, c.type_name, "omgidl", c.text));
}
INSTANTIATE_TEST_SUITE_P(Types, IdlText, testing::ValuesIn(type_cases), CaseName());
INSTANTIATE_TEST_SUITE_P(Annotations, IdlText, testing::ValuesIn(annotation_cases), CaseName());
INSTANTIATE_TEST_SUITE_P(Scopes, IdlText, testing::ValuesIn(scope_cases), CaseName());
INSTANTIATE_TEST_SUITE_P(Constants, IdlText, testing::ValuesIn(constant_cases), CaseName());
INSTANTIATE_TEST_SUITE_P(Errors, IdlText, testing::ValuesIn(error_cases), CaseName());

}  // namespace
}  // namespace zun::test
