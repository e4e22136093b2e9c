#include "tests/support/case_files.hpp"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <ostream>
#include <stdexcept>

namespace zun::test {

namespace fs = std::filesystem;

fs::path data_folder() {
    return ZUN_TEST_DATA;
}

std::string read_file(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read test data " + path.string());
    return {std::istreambuf_iterator<char>(in), {}};
}

void PrintTo(const CaseFile& c, std::ostream* out) {
    *out << c.name;
}

std::vector<CaseFile> load_cases(const std::string& folder) {
    std::vector<CaseFile> cases;
    for (const auto& entry : fs::directory_iterator(data_folder() / folder)) {
        if (entry.path().extension() != ".in") continue;
        fs::path out = entry.path();
        cases.push_back(
            {entry.path().stem(), read_file(entry.path()), read_file(out.replace_extension(".out"))});
    }
    if (cases.empty()) throw std::runtime_error("no test cases in " + (data_folder() / folder).string());
    std::sort(cases.begin(), cases.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return cases;
}

std::string CaseName::letters_and_digits(const std::string& name) {
    std::string kept;
    for (const char c : name)
        if (std::isalnum(static_cast<unsigned char>(c))) kept += c;
    return kept;
}

}  // namespace zun::test
