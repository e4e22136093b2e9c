// conversions: fake recordings converted into folders of their own.

#ifndef ZUN_TESTS_CONVERT_CONVERSIONS_HPP
#define ZUN_TESTS_CONVERT_CONVERSIONS_HPP

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "convert/Conversion.hpp"
#include "tests/convert/FakeRecording.hpp"
#include "tests/support/case_files.hpp"

namespace zun::test {

/// A folder of its own for each test.
inline std::filesystem::path fresh_folder() {
    const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + test->name();
    std::replace(name.begin(), name.end(), '/', '_');
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / ("convert_" + name);
    std::filesystem::remove_all(folder);
    return folder;
}

inline std::map<std::string, std::string> files_in(const std::filesystem::path& folder) {
    std::map<std::string, std::string> files;
    if (!std::filesystem::exists(folder)) return files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        files[entry.path().filename().string()] = read_file(entry.path());
    return files;
}

inline convert::Report convert_all(FakeRecording& fake, convert::Settings settings,
                                   const std::filesystem::path& folder, const convert::Watch& watch = {}) {
    convert::Report report;
    convert::Conversion(std::move(settings), {FakeRecording::recording(fake, folder)}, watch).run(report);
    return report;
}

}  // namespace zun::test

#endif
