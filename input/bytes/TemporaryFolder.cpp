#include "input/bytes/TemporaryFolder.hpp"

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace zun::input {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() : path_((fs::temp_directory_path() / "dds2csv-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), "temporary folder " + path_);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

NewFile::NewFile(const fs::path& path) : path_(path.string()), file_(std::fopen(path.c_str(), "wb")) {
    if (!file_) fail();
}

void NewFile::write(Bytes bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size()) fail();
}

void NewFile::close() {
    if (std::fclose(file_.release()) != 0) fail();
}

void NewFile::fail() const {
    throw std::system_error(errno, std::generic_category(), "cannot write '" + path_ + "'");
}

}  // namespace zun::input
