// case_files: test cases as files, tests/data/<folder>/<case>.in beside <case>.out, and names for cases.

#ifndef ZUN_TESTS_SUPPORT_CASE_FILES_HPP
#define ZUN_TESTS_SUPPORT_CASE_FILES_HPP

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zun::test {

/// The folder of the test data.
std::filesystem::path data_folder();

/// The whole of a file. Throws std::runtime_error when it cannot be read.
std::string read_file(const std::filesystem::path& path);

struct CaseFile {
    std::string name;
    std::string in;
    std::string out;
};
void PrintTo(const CaseFile& c, std::ostream* out);

/// The cases of tests/data/<folder>, by name. Throws when there is none, or when one has no .out.
std::vector<CaseFile> load_cases(const std::string& folder);

/// Names a parameterised case by its field `name`, in letters and digits as GoogleTest wants it.
struct CaseName {
    template <typename Case>
    std::string operator()(const testing::TestParamInfo<Case>& tested) const {
        return letters_and_digits(tested.param.name);
    }
    static std::string letters_and_digits(const std::string& name);
};

}  // namespace zun::test

#endif
