// metadata_fuzz: any metadata.yaml beside sound storage files, one of them compressed.

#include <cstddef>
#include <cstdint>
#include <filesystem>

#include "fuzz/tool.hpp"

namespace {

namespace fs = std::filesystem;

void copy_storage(const fs::path& file) {
    fs::copy_file(fs::path(ZUN_TEST_DATA) / "db3" / file, zun::fuzz::folder() / file.filename());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    for (const char* file : {"robot/robot_0.db3", "split/split_0.db3", "file_zstd/file_zstd_0.db3.zstd"})
        copy_storage(file);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zun::fuzz;
    write_file("metadata.yaml", {data, size});
    run_tool({"convert", folder(), "-j1", "--dry-run", "-t", "/imu"});
    return 0;
}
