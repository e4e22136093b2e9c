// printing: a payload to print, and the loops that print it, through the format or bare.

#ifndef ZUN_BENCHMARKS_PRINTING_HPP
#define ZUN_BENCHMARKS_PRINTING_HPP

#include <charconv>
#include <concepts>
#include <cstring>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

#include "format/PrintFormatCsv.hpp"
#include "platform/printing/SamplePrinter.hpp"
#include "platform/xtypes/TypeBuilder.hpp"

namespace zun::benchmarks {

/// A sample's bytes: plain CDR, little endian.
class Payload {
public:
    template <typename Number>
    Payload& put(Number value) {
        append(&value, sizeof value, sizeof value);
        return *this;
    }
    Payload& put(const std::string& text) {
        put(static_cast<std::uint32_t>(text.size() + 1));
        append(text.c_str(), text.size() + 1, 1);
        return *this;
    }
    template <typename Value>
    Payload& put(const std::vector<Value>& values) {
        for (const Value& value : values)
            put(value);
        return *this;
    }
    const std::vector<std::byte>& bytes() const { return bytes_; }

private:
    void append(const void* from, std::size_t size, std::size_t alignment) {
        const std::size_t body = bytes_.size() - 4;
        const std::size_t at = 4 + (body + alignment - 1) / alignment * alignment;
        bytes_.resize(at + size);
        std::memcpy(bytes_.data() + at, from, size);
    }

    std::vector<std::byte> bytes_ = {std::byte{0}, std::byte{1}, std::byte{0}, std::byte{0}};
};

/// Room for every row here, with what a limit cuts off again.
constexpr std::size_t row_size = 4 << 20;

/// Counts rows per second, and the time of one of the `cells` of a row.
inline void count(benchmark::State& state, std::size_t cells) {
    using benchmark::Counter;
    const auto rows = static_cast<double>(state.iterations());
    state.counters["rows"] = Counter(rows, Counter::kIsRate);
    state.counters["cell"] = Counter(rows * static_cast<double>(cells), Counter::kIsRate | Counter::kInvert);
}

/// Prints one payload over and over, `cells` values a time. `limit` elements for unbounded sequences.
inline void print_rows(benchmark::State& state, const core::xtypes::DynamicTypeImpl& type,
                       const Payload& payload, std::size_t cells, std::uint32_t limit = 1000) {
    auto settings = tamber::utils::PrintFormatCsv::PROPERTY_DEFAULT();
    settings.add_unbounded_seq_limit("*", limit);
    std::ostringstream header;
    std::vector<char> buffer(row_size);
    tamber::utils::PrintFormatCsv converter(settings, type, header, buffer);
    printing::SamplePrinter printer(type, "benchmark");
    for (auto _ : state) {
        ZUNXMLSaveContext context{.text = buffer.data(), .capacity = row_size};
        printer.print(*converter.native(), context, payload.bytes(), nullptr, {}, &converter);
        benchmark::DoNotOptimize(context.length);
        benchmark::ClobberMemory();
    }
    count(state, cells);
}

inline char* write_bare(char* out, std::string_view text) {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}
inline char* write_bare(char* out, bool value) {
    return write_bare(out, std::string_view(value ? "true" : "false"));
}
template <typename Number>
requires std::integral<Number> || std::floating_point<Number>
char* write_bare(char* out, Number value) {
    return std::to_chars(out, out + 32, value).ptr;
}

/// The values alone, each after a separator: what a row costs at least without cleverer number text.
template <typename Value>
void print_bare(benchmark::State& state, const std::vector<Value>& values) {
    std::vector<char> buffer(row_size);
    for (auto _ : state) {
        char* out = buffer.data();
        for (const auto& value : values) {
            *out++ = ',';
            out = write_bare(out, value);
        }
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
    }
    count(state, values.size());
}

}  // namespace zun::benchmarks

#endif
