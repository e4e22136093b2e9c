#include "convert/output/BlobFolders.hpp"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "convert/output/files.hpp"

namespace zun::convert {

namespace fs = std::filesystem;

BlobFolders::BlobFolders(const fs::path& parent, const std::vector<std::string>& names, bool overwrite)
    : overwrite_(overwrite) {
    for (const std::string& name : names)
        folders_.push_back({parent / name});
}

void BlobFolders::remove_unfinished() {
    std::error_code ignored;
    for (Folder& folder : folders_)
        if (!folder.part.empty()) fs::remove_all(std::exchange(folder.part, {}), ignored);
}

fs::path BlobFolders::part_of(std::size_t index) {
    const std::lock_guard lock(mutex_);
    Folder& folder = folders_[index];
    while (folder.part.empty()) {
        fs::path part = part_name(folder.path);
        if (::mkdir(part.c_str(), 0777) == 0)
            folder.part.swap(part);
        else if (errno != EEXIST)
            throw_errno("cannot make", folder.path.string());
    }
    return folder.part;
}

void BlobFolders::write(std::size_t folder, const std::string& name, std::span<const std::byte> bytes) {
    const fs::path path = part_of(folder) / name;
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW | O_CREAT | O_EXCL, 0666);
    if (descriptor < 0) throw_errno("cannot make", path.string());
    try {
        write_all(descriptor, {reinterpret_cast<const char*>(bytes.data()), bytes.size()}, path.string());
    } catch (...) {
        ::close(descriptor);
        throw;
    }
    if (::close(descriptor) != 0 && errno != EINTR) throw_errno("cannot write", path.string());
}

void BlobFolders::finish() {
    for (Folder& folder : folders_)
        if (!folder.part.empty()) give_name(folder);
    for (Folder& folder : folders_)
        folder.part.clear();
}

/// What is there already goes once the new folder has its name. A name that nothing should bear may belong to
/// an empty folder; none that holds something is replaced.
void BlobFolders::give_name(Folder& folder) const {
    fs::path old;
    if (overwrite_ && fs::exists(fs::symlink_status(folder.path))) {
        old = part_name(folder.path);
        if (::rename(folder.path.c_str(), old.c_str()) != 0)
            throw_errno("cannot replace", folder.path.string());
    }
    if (::rename(folder.part.c_str(), folder.path.c_str()) != 0) {
        const int problem = errno;
        if (!old.empty()) ::rename(old.c_str(), folder.path.c_str());
        errno = problem;
        throw_errno("cannot make", folder.path.string());
    }
    folder.part = old.empty() ? folder.path : fs::path();  // a new one goes again unless all get their names
    std::error_code ignored;
    if (!old.empty()) fs::remove_all(old, ignored);
}

}  // namespace zun::convert
