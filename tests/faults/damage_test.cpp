// Small recordings of each container, cut at every byte and with every byte changed.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "cli/find_recordings.hpp"
#include "convert/Conversion.hpp"
#include "tests/support/case_files.hpp"

namespace zun {

namespace {

namespace fs = std::filesystem;

/// Three messages of one topic.
struct Container {
    std::string name;
    std::vector<std::size_t>
        ends;                   ///< where each message, or the chunk around it, is whole; unknown when empty
    bool has_checksums = true;  ///< over every byte that bears a value
};

const Container containers[] = {{"plain.mcap", {168, 215, 264}},
                                {"lz4.mcap", {248, 248, 362}},
                                {"zstd.mcap", {218, 218, 328}},
                                {"small.db3", {}, false},
                                {"small.db3.zstd", {}}};

struct Result {
    bool clean = false;  ///< exit code 0
    std::string text = {};
};

class Damage : public testing::TestWithParam<Container> {
protected:
    Damage() : folder_(fs::temp_directory_path() / ("dds2csv_damage_" + std::to_string(::getpid()))) {
        fs::create_directories(folder_);
    }
    ~Damage() override { fs::remove_all(folder_); }

    Result convert(const std::string& bytes) const {
        const fs::path file = folder_ / GetParam().name, csv = folder_ / "csv";
        std::ofstream(file, std::ios::binary) << bytes;
        fs::remove_all(csv);
        convert::Report report;
        try {
            convert::Conversion({.overwrite = true}, cli::find_recordings({file}, csv), {}).run(report);
        } catch (const std::runtime_error&) {
            return {};
        }
        const bool any = fs::exists(csv / "p.csv");
        return {report.finished_any() && !report.lost_anything(), any ? test::read_file(csv / "p.csv") : ""};
    }

    const std::string bytes_ = test::read_file(test::data_folder() / "damage" / GetParam().name);
    const fs::path folder_;
};

TEST_P(Damage, LosesNoMessageThatIsWholeBeforeACut) {
    const Result whole = convert(bytes_);
    ASSERT_TRUE(whole.clean);
    ASSERT_EQ(4, std::count(whole.text.begin(), whole.text.end(), '\n'));
    for (std::size_t size = 0; size < bytes_.size(); ++size) {
        const Result cut = convert(bytes_.substr(0, size));
        const auto rows = std::count(cut.text.begin(), cut.text.end(), '\n') - (cut.text.empty() ? 0 : 1);
        const auto& ends = GetParam().ends;
        ASSERT_EQ(0, whole.text.compare(0, cut.text.size(), cut.text)) << size;
        ASSERT_GE(rows, std::count_if(ends.begin(), ends.end(), [&](auto end) { return end <= size; }))
            << size;
        if (cut.clean) {
            ASSERT_EQ(whole.text, cut.text) << size;
        }
    }
}

TEST_P(Damage, TellsOfEveryChangedByte) {
    const Result whole = convert(bytes_);
    for (std::size_t i = 0; i < bytes_.size(); ++i)
        for (const int mask : {1, 0x80, 0xFF}) {
            std::string changed = bytes_;
            changed[i] = static_cast<char>(changed[i] ^ mask);
            const Result result = convert(changed);
            if (result.clean && GetParam().has_checksums) {
                ASSERT_EQ(whole.text, result.text) << i;
            }
        }
}

INSTANTIATE_TEST_SUITE_P(Each, Damage, testing::ValuesIn(containers), test::CaseName());

}  // namespace

}  // namespace zun
