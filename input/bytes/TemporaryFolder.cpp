#include "input/bytes/TemporaryFolder.hpp"

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <unistd.h>

namespace zun::input {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() : path_((fs::temp_directory_path() / "dds2csv-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), "temporary folder " + path_);
}

TemporaryFolder::~TemporaryFolder() {
    for (const std::string& file : files_)
        ::unlink(file.c_str());
    ::rmdir(path_.c_str());
}

fs::path TemporaryFolder::file(const std::string& name) {
    return files_.emplace_back(path_ + '/' + name);
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
