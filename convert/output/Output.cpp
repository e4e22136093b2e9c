#include "convert/output/Output.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "convert/output/files.hpp"

namespace zun::convert {

namespace {

// Text waits in memory, so that writes are large: at most so much of one file, and of all files together.
constexpr std::size_t file_pending_bytes = std::size_t{256} << 10;
constexpr std::size_t all_pending_bytes = std::size_t{16} << 20;

/// Half of what the system allows, for the recordings need some.
std::size_t most_open_files() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return 8;
    return std::clamp<std::size_t>(limit.rlim_cur / 2, 4, 512);
}

/// Makes a file whose name begins with `path` and is no other process's; its descriptor. Once the file is
/// there, nothing can keep its name from getting into `part`: whoever takes it away again knows it.
int make_part(const std::filesystem::path& path, std::filesystem::path& part) {
    for (;;) {
        std::filesystem::path name = part_name(path);
        const int descriptor =
            ::open(name.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW | O_CREAT | O_EXCL, 0666);
        if (descriptor >= 0) {
            part.swap(name);
            return descriptor;
        }
        if (errno != EEXIST) throw_errno("cannot make", path.string());
    }
}

}  // namespace

OutputFiles::OutputFiles(std::filesystem::path folder, const std::vector<std::string>& names,
                         const std::vector<std::string>& blob_folders, bool overwrite)
    : folder_(std::move(folder)),
      overwrite_(overwrite),
      most_open_(most_open_files()),
      blob_folders_(folder_, blob_folders, overwrite) {
    for (const std::string& name : names)
        current_.push_back(&files_.emplace_back(File{folder_ / name}));
}

OutputFiles::~OutputFiles() {
    blob_folders_.remove_unfinished();
    for (File& file : files_) {
        if (file.descriptor >= 0) ::close(file.descriptor);
        if (!file.part.empty()) ::unlink(file.part.c_str());
    }
    for (const std::filesystem::path& folder : made_folders_)
        ::rmdir(folder.c_str());
}

void OutputFiles::write(std::size_t topic, std::string_view text) {
    File& file = *current_[topic];
    if (file.pending.size() + text.size() >= file_pending_bytes) {
        flush(file);
        open(file);
        return write_all(file.descriptor, text, file.path.string());
    }
    file.pending += text;
    pending_bytes_ += text.size();
    if (pending_bytes_ < all_pending_bytes) return;
    for (File& other : files_)
        flush(other);
}

void OutputFiles::append(std::size_t topic, const std::filesystem::path& from) {
    File& file = *current_[topic];
    flush(file);
    open(file);
    copy_file(from, file.descriptor, file.path.string());
}

void OutputFiles::begin_file(std::size_t topic, const std::string& name) {
    flush(*current_[topic]);
    close(*current_[topic]);
    current_[topic] = &files_.emplace_back(File{folder_ / name});
}

void OutputFiles::finish() {
    for (File& file : files_) {
        flush(file);
        close(file);
    }
    // The further ones first: where a topic's own file is, all of them are.
    for (auto file = files_.rbegin(); file != files_.rend(); ++file)
        if (!file->part.empty()) give_name(*file);
    blob_folders_.finish();
    for (File& file : files_)
        file.part.clear();
    made_folders_.clear();
}

void OutputFiles::give_name(File& file) {
    if (overwrite_) {
        if (::rename(file.part.c_str(), file.path.c_str()) != 0)
            throw_errno("cannot make", file.path.string());
        file.part.clear();
    } else {
        rename_new(file.part, file.path);
        file.part = file.path;  // goes again unless all the others get their names
    }
}

void OutputFiles::write_blob(std::size_t folder, const std::string& name, std::span<const std::byte> bytes) {
    make_folder();
    blob_folders_.write(folder, name, bytes);
}

void OutputFiles::make_folder() {
    const std::lock_guard lock(making_folder_);
    if (has_folder_) return;
    std::error_code error;
    for (auto path = folder_; !path.empty() && !std::filesystem::exists(path, error);
         path = path.parent_path())
        made_folders_.push_back(path);
    std::filesystem::create_directories(folder_, error);
    if (error) throw std::system_error(error, "cannot make '" + folder_.string() + "'");
    has_folder_ = true;
}

bool OutputFiles::exists(const std::filesystem::path& file) {
    std::error_code error;
    return std::filesystem::exists(std::filesystem::symlink_status(file, error));
}

std::optional<std::filesystem::path> OutputFiles::existing(const std::filesystem::path& folder,
                                                           const std::vector<std::string>& names) {
    for (const std::string& name : names)
        if (!name.empty() && exists(folder / name)) return folder / name;
    return std::nullopt;
}

std::vector<std::string> OutputFiles::names_in(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error))
        names.push_back(entry->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

void OutputFiles::flush(File& file) {
    if (file.pending.empty()) return;
    open(file);
    write_all(file.descriptor, file.pending, file.path.string());
    pending_bytes_ -= file.pending.size();
    file.pending = {};
}

void OutputFiles::open(File& file) {
    if (file.descriptor >= 0) {
        open_.splice(open_.begin(), open_, file.use);
        return;
    }
    if (open_.size() >= most_open_) close(*open_.back());
    if (file.part.empty()) {
        make_folder();
        file.descriptor = make_part(file.path, file.part);
    } else {
        file.descriptor = ::open(file.part.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW | O_APPEND);
        if (file.descriptor < 0) throw_errno("cannot write", file.part.string());
    }
    open_.push_front(&file);
    file.use = open_.begin();
}

void OutputFiles::close(File& file) {
    if (file.descriptor < 0) return;
    open_.erase(file.use);
    const int result = ::close(std::exchange(file.descriptor, -1));
    if (result != 0 && errno != EINTR) throw_errno("cannot write", file.path.string());
}

void OutputStream::write(std::size_t, std::string_view text) {
    write_all(descriptor_, text, name_);
}

void OutputStream::append(std::size_t, const std::filesystem::path& from) {
    copy_file(from, descriptor_, name_);
}

void OutputStream::write_blob(std::size_t, const std::string& name, std::span<const std::byte>) {
    throw std::logic_error("there is no folder for '" + name + "' beside " + name_);
}

}  // namespace zun::convert
