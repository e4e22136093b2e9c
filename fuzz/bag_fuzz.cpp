// bag_fuzz: a SQLite file through the conversion. Pages have no checksums, so bytes alone get everywhere.

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/tool.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zun::fuzz;
    run_tool({"convert", write_file("x.db3", {data, size}), "-j1", "--dry-run", "--max-columns", "300"});
    return 0;
}
