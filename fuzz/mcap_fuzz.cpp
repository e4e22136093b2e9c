// mcap_fuzz: a whole MCAP file through the conversion. Files are changed record by record, those inside
// uncompressed chunks too, and checksums are mended: else no change would get past them.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

#include "fuzz/mcap_records.hpp"
#include "fuzz/tool.hpp"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

namespace {

using namespace zun::fuzz;

constexpr std::size_t magic_size = 8;
constexpr std::size_t room_to_grow = 64;

class Changer {
public:
    explicit Changer(unsigned int seed) : random_(seed) {}

    void change(std::vector<McapRecord>& records) {
        const std::size_t at = choose(records.size());
        McapRecord& record = records[at];
        if (!record.inside.empty() && choose(4) != 0) return change(record.inside);
        switch (choose(8)) {
            case 0:
                record.false_length = false_length(record.content.size());
                break;
            case 1: {
                McapRecord copy = record;
                records.insert(records.begin() + static_cast<std::ptrdiff_t>(choose(records.size())), copy);
                break;
            }
            case 2:
                records.erase(records.begin() + static_cast<std::ptrdiff_t>(at));
                break;
            case 3:
                std::swap(record, records[choose(records.size())]);
                break;
            default:
                change(record.content);
        }
    }

    std::size_t choose(std::size_t below) { return random_() % std::max<std::size_t>(below, 1); }

private:
    static void change(std::string& content) {
        const std::size_t size = content.size();
        content.resize(size + room_to_grow);
        content.resize(
            LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(content.data()), size, content.size()));
    }

    std::uint64_t false_length(std::uint64_t size) {
        const std::uint64_t lengths[] = {0,           size + 1,    size - 1,    size + 9,   1U << 30U,
                                         1ULL << 32U, 1ULL << 62U, 1ULL << 63U, UINT64_MAX, UINT64_MAX - 9};
        return lengths[choose(std::size(lengths))];
    }

    std::minstd_rand random_;
};

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned int seed) {
    Changer changer(seed);
    if (size <= magic_size || changer.choose(16) == 0) return LLVMFuzzerMutate(data, size, most);
    const std::string text(reinterpret_cast<const char*>(data), size);
    auto records = parse_records(text.substr(magic_size));
    for (std::size_t left = 1 + changer.choose(3); left > 0 && !records.empty(); --left)
        changer.change(records);
    const std::string changed = text.substr(0, magic_size) + records_text(records);
    const std::size_t kept = std::min(changed.size(), most);
    std::copy_n(changed.begin(), kept, data);
    return kept;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    run_tool({"convert", write_file("x.mcap", {data, size}), "-j1", "--dry-run", "--max-columns", "300"});
    return 0;
}
