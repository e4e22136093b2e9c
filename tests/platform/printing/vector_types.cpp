#include "tests/platform/printing/vector_types.hpp"

#include "platform/xtypes/TypeBuilder.hpp"

namespace zun::test {

using namespace core::xtypes;

std::map<std::string, DynamicTypeImpl> vector_types() {
    std::map<std::string, DynamicTypeImpl> types;
    const auto add = [&types](const DynamicTypeImpl& type) {
        types.emplace(type.name(), type);
        return type;
    };
    const auto structure = [&add](const char* name, std::vector<MemberSpec> members,
                                  Extensibility extensibility = Extensibility::FINAL,
                                  std::optional<DynamicTypeImpl> base = {}) {
        return add(struct_type({name, std::move(members), std::move(base), extensibility}));
    };
    const auto sequence = [](const DynamicTypeImpl& element) { return sequence_type(element); };
    const auto id = [](const char* name, const DynamicTypeImpl& type, std::uint32_t number,
                       bool optional = false) {
        return MemberSpec{.name = name, .type = type, .id = number, .optional = optional};
    };
    const auto set = [](const char* name, const DynamicTypeImpl& type) {
        return MemberSpec{.name = name, .type = type, .optional = true};
    };
    constexpr auto app = Extensibility::APPENDABLE;
    constexpr auto mut = Extensibility::MUTABLE;
    const DynamicTypeImpl o = primitive_type(TypeKind::OCTET_TYPE), s = primitive_type(TypeKind::INT_16_TYPE),
                          l = primitive_type(TypeKind::INT_32_TYPE),
                          ll = primitive_type(TypeKind::INT_64_TYPE),
                          f = primitive_type(TypeKind::FLOAT_32_TYPE),
                          d = primitive_type(TypeKind::FLOAT_64_TYPE),
                          b = primitive_type(TypeKind::BOOLEAN_TYPE),
                          c = primitive_type(TypeKind::CHAR_8_TYPE),
                          w = primitive_type(TypeKind::CHAR_16_TYPE), text = string_type();

    structure("Prim",
              {{"a", o}, {"b", s}, {"c", l}, {"d", o}, {"e", ll}, {"f", f}, {"g", d}, {"h", b}, {"i", c}});
    structure("Str", {{"s", text}, {"x", o}, {"t", text}});
    structure("Seqs", {{"x", o}, {"a", sequence(s)}, {"b", sequence(d)}, {"c", sequence(d)}, {"y", o}});
    const auto inner = structure("Inner", {{"a", o}, {"b", d}});
    structure("Outer", {{"x", o}, {"i", inner}, {"y", o}, {"arr", array_type(inner, {2})}});
    const auto color = enum_type({"Color", {{"RED", 0}, {"GREEN", 1}, {"BLUE", 2}}});
    const auto tiny = enum_type({"Tiny", {{"T0", 0}, {"T5", 5}}, 8});
    structure("Enums", {{"x", o},
                        {"c", color},
                        {"t", tiny},
                        {"m", enum_type({"Mid", {{"M0", 0}, {"M300", 300}}, 16})},
                        {"f8", bitmask_type("Flags8", 8)},
                        {"f32", bitmask_type("Flags32")}});
    const auto u =
        union_type({"U", l, {{"o", o, {1}}, {"d", d, {2}}, {"s", text, {3}}}, Extensibility::FINAL});
    structure("HasU", {{"x", o}, {"u", u}, {"y", o}});
    structure("Opt", {{"x", o}, set("a", l), {"b", ll}, set("s", text), {"y", o}});
    structure("Opt1", {set("a", l), {"b", ll}});
    const auto appendable = structure("App", {{"a", l}, {"b", o}}, app);
    structure("SeqApp", {{"v", sequence(appendable)}, {"y", o}});
    structure("AppOuter", {{"x", o}, {"inner", appendable}, {"v", sequence(appendable)}, {"d", d}}, app);
    structure("StrArr", {{"a", array_type(text, {2})}, {"y", o}});
    structure("StrSeq", {{"a", sequence(text)}, {"y", o}});
    structure("EnumSeq", {{"a", sequence(color)}, {"y", o}});
    structure("Tiny8Arr", {{"a", array_type(tiny, {3})}, {"y", o}});
    structure("FinSeq", {{"v", sequence(inner)}, {"y", o}});
    structure("Grid", {{"m", array_type(s, {2, 3})}, {"g", array_type(appendable, {1, 2})}});
    structure("SeqSeq", {{"v", sequence(sequence(l))}, {"y", o}});
    structure("Mut",
              {id("a", o, 1), id("b", l, 2), id("c", ll, 3), id("s", text, 4), id("l", sequence(l), 5),
               id("d", sequence(d), 6), id("app", appendable, 7), id("o", s, 8, true),
               id("va", sequence(appendable), 9), id("z", s, 10)},
              mut);
    const auto small = structure("MutSmall", {id("a", o, 1), id("b", d, 2), id("s", text, 3)}, mut);
    structure("HasMut", {{"x", o}, {"m", small}, {"y", o}});
    const auto base_f = structure("BaseF", {{"a", l}, {"b", o}});
    structure("DerF", {{"c", o}, {"d", d}}, Extensibility::FINAL, base_f);
    const auto base_a = structure("BaseA", {{"a", l}, {"b", o}}, app);
    structure("DerA", {{"c", o}}, app, base_a);
    const auto base_m = structure("BaseM", {id("a", l, 1)}, mut);
    structure("DerM", {{"c", o}}, mut, base_m);
    structure("WS", {{"x", o}, {"c", w}, {"s", wstring_type()}, {"y", o}});
    const auto mu = union_type({"MU", l, {{"o", o, {1}, false, 7}, {"d", d, {2}, false, 9}}, mut});
    structure("HasMU", {{"x", o}, {"u", mu}});
    structure("HasAU",
              {{"x", o}, {"u", union_type({"AU", o, {{"o", o, {1}}, {"d", d, {2}}}, app})}, {"y", o}});
    structure("BoolSeq", {{"v", sequence(b)}, {"y", o}});
    structure("AppOpt", {{"x", o}, set("a", l), set("ap", appendable)}, app);
    structure("MutAuto", {{"a", o}, {"b", l}}, mut);
    structure("MutOpt", {id("a", o, 1), id("b", d, 2, true), id("c", o, 3)}, mut);
    return types;
}

}  // namespace zun::test
