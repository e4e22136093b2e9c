// RowBench: rows of different shapes, beside bare loops over the same values where there is one.

#include <cmath>

#include "benchmarks/printing.hpp"

namespace {

using namespace zun::benchmarks;
using namespace zun::core::xtypes;
using zun::tamber::utils::PrintFormatCsv;

DynamicTypeImpl of(TypeKind kind) {
    return primitive_type(kind);
}

DynamicTypeImpl one_member(const DynamicTypeImpl& type) {
    return struct_type({.name = "T", .members = {{"values", type}}});
}

std::string member_name(int i) {
    return std::string("m").append(std::to_string(i));
}

std::vector<double> measurements(std::size_t size) {
    std::vector<double> values(size);
    for (std::size_t i = 0; i < size; ++i)
        values[i] = std::sin(static_cast<double>(i)) * 10;
    return values;
}

std::vector<float> ranges(std::size_t size) {
    std::vector<float> values(size);
    for (std::size_t i = 0; i < size; ++i)
        values[i] = 4 + 3 * std::sin(static_cast<float>(i) * 0.01F) + static_cast<float>(i % 7) * 0.013F;
    return values;
}

const std::vector<double> twist = {0.125, -1.5, 3.14159, 0.0, 1e-3, 2.718281828};

void BM_Scalars(benchmark::State& state) {
    const DynamicTypeImpl f64 = of(TypeKind::FLOAT_64_TYPE);
    const DynamicTypeImpl vector =
        struct_type({.name = "V", .members = {{"x", f64}, {"y", f64}, {"z", f64}}});
    const DynamicTypeImpl type = struct_type({.name = "T",
                                              .members = {{"sec", of(TypeKind::INT_32_TYPE)},
                                                          {"nanosec", of(TypeKind::UINT_32_TYPE)},
                                                          {"linear", vector},
                                                          {"angular", vector},
                                                          {"count", of(TypeKind::INT_64_TYPE)},
                                                          {"valid", of(TypeKind::BOOLEAN_TYPE)}}});
    const Payload payload = Payload()
                                .put(std::int32_t{1700000000})
                                .put(std::uint32_t{123456789})
                                .put(twist)
                                .put(std::int64_t{123456789012})
                                .put(true);
    print_rows(state, type, payload, 10);
}
BENCHMARK(BM_Scalars);

void BM_ScalarsBare(benchmark::State& state) {
    std::vector<char> buffer(row_size);
    for (auto _ : state) {
        char* out = buffer.data();
        const auto cell = [&out](const auto value) {
            *out++ = ',';
            out = write_bare(out, value);
        };
        cell(std::int32_t{1700000000});
        cell(std::uint32_t{123456789});
        for (const double value : twist)
            cell(value);
        cell(std::int64_t{123456789012});
        cell(true);
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
    }
    count(state, 10);
}
BENCHMARK(BM_ScalarsBare);

/// The argument is the number of elements.
void BM_Floats(benchmark::State& state) {
    const auto size = static_cast<std::uint32_t>(state.range());
    const DynamicTypeImpl type = one_member(sequence_type(of(TypeKind::FLOAT_32_TYPE)));
    print_rows(state, type, Payload().put(size).put(ranges(size)), size + 1, size);
}
BENCHMARK(BM_Floats)->Arg(10)->Arg(100)->Arg(1440)->Arg(10'000);

void BM_FloatsBare(benchmark::State& state) {
    print_bare(state, ranges(static_cast<std::size_t>(state.range())));
}
BENCHMARK(BM_FloatsBare)->Arg(1440);

const std::vector<std::string> words(100, "a name of 23 characters");

void BM_Strings(benchmark::State& state) {
    print_rows(state, one_member(sequence_type(string_type())), Payload().put(std::uint32_t{100}).put(words),
               101, 100);
}
BENCHMARK(BM_Strings);

void BM_StringsBare(benchmark::State& state) {
    print_bare(state, words);
}
BENCHMARK(BM_StringsBare);

/// 100 transforms: a name and 7 numbers each.
void BM_Structures(benchmark::State& state) {
    const DynamicTypeImpl transform = struct_type(
        {.name = "Transform",
         .members = {{"name", string_type()}, {"pose", array_type(of(TypeKind::FLOAT_64_TYPE), {7})}}});
    Payload payload;
    payload.put(std::uint32_t{100});
    for (int i = 0; i < 100; ++i)
        payload.put(std::string("base_link")).put(measurements(7));
    print_rows(state, one_member(sequence_type(transform)), payload, 801, 100);
}
BENCHMARK(BM_Structures);

/// 100 sequences of 10 numbers.
void BM_SequencesInSequence(benchmark::State& state) {
    const DynamicTypeImpl inner = sequence_type(of(TypeKind::FLOAT_64_TYPE));
    Payload payload;
    payload.put(std::uint32_t{100});
    for (int i = 0; i < 100; ++i)
        payload.put(std::uint32_t{10}).put(measurements(10));
    print_rows(state, one_member(sequence_type(inner)), payload, 1101, 100);
}
BENCHMARK(BM_SequencesInSequence);

/// 100 unions of 8 members, of which the discriminator selects one.
void BM_Unions(benchmark::State& state) {
    UnionSpec choice{.name = "U", .discriminator = of(TypeKind::INT_32_TYPE)};
    for (int i = 0; i < 8; ++i)
        choice.members.push_back({member_name(i), of(TypeKind::FLOAT_64_TYPE), {i}});
    Payload payload;
    for (std::int32_t i = 0; i < 100; ++i)
        payload.put(i % 8).put(0.5 * i);
    print_rows(state, one_member(array_type(union_type(choice), {100})), payload, 900);
}
BENCHMARK(BM_Unions);

/// 100 optional numbers, every second one set.
void BM_Optionals(benchmark::State& state) {
    constexpr std::uint32_t value_size = 4;
    StructSpec type{.name = "T"};
    Payload payload;
    for (std::uint16_t i = 0; i < 100; ++i) {
        type.members.push_back(
            {.name = member_name(i), .type = of(TypeKind::INT_32_TYPE), .id = i, .optional = true});
        payload.put(std::uint32_t{i % 2 == 0 ? i : value_size << 16 | i});
        if (i % 2 != 0) payload.put(std::int32_t{i});
    }
    print_rows(state, struct_type(type), payload, 100);
}
BENCHMARK(BM_Optionals);

void BM_EmptyCells(benchmark::State& state) {
    const DynamicTypeImpl type = one_member(sequence_type(of(TypeKind::FLOAT_32_TYPE)));
    print_rows(state, type, Payload().put(std::uint32_t{0}), 10'000, 10'000);
}
BENCHMARK(BM_EmptyCells);

void BM_EmptyCellsBare(benchmark::State& state) {
    const std::string row(std::size_t{10'000} * 4, 'n');
    std::vector<char> buffer(row_size);
    for (auto _ : state) {
        benchmark::DoNotOptimize(write_bare(buffer.data(), row));
        benchmark::ClobberMemory();
    }
    count(state, 10'000);
}
BENCHMARK(BM_EmptyCellsBare);

/// 1 MB of octets, of which 1,000 get columns and the others are dropped.
void BM_DroppedOctets(benchmark::State& state) {
    constexpr std::uint32_t size = 1 << 20;
    const DynamicTypeImpl type = one_member(sequence_type(of(TypeKind::OCTET_TYPE)));
    print_rows(state, type, Payload().put(size).put(std::vector<std::uint8_t>(size, 42)), size - 1000);
}
BENCHMARK(BM_DroppedOctets);

/// Construction with its header line. The argument is the number of columns.
void BM_Construction(benchmark::State& state) {
    const DynamicTypeImpl f64 = of(TypeKind::FLOAT_64_TYPE);
    const DynamicTypeImpl point = struct_type({.name = "P", .members = {{"x", f64}, {"y", f64}}});
    const auto columns = static_cast<std::uint32_t>(state.range());
    const DynamicTypeImpl type = one_member(array_type(point, {columns / 2}));
    for (auto _ : state) {
        std::ostringstream header;
        std::vector<char> buffer;
        const PrintFormatCsv converter(PrintFormatCsv::PROPERTY_DEFAULT(), type, header, buffer);
        benchmark::DoNotOptimize(header.view().size());
    }
    count(state, columns);
}
BENCHMARK(BM_Construction)->Arg(1'000)->Arg(100'000)->Arg(400'000)->Unit(benchmark::kMillisecond);

}  // namespace
