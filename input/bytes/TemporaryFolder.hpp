// TemporaryFolder: where files are made that are gone again as soon as they are open.

#ifndef ZUN_INPUT_BYTES_TEMPORARY_FOLDER_HPP
#define ZUN_INPUT_BYTES_TEMPORARY_FOLDER_HPP

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "input/bytes/File.hpp"

namespace zun::input {

/// A new folder of its own among the temporary files, removed with its files. That takes no memory, so that
/// want of it leaves nothing behind.
class TemporaryFolder {
public:
    /// In the folder that TMPDIR names, else /tmp. Throws std::system_error with the path.
    TemporaryFolder();
    /// Files in it that are still open keep their space on the disk until they are closed.
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// The path of its file `name`, which is removed with it, if it is there.
    std::filesystem::path file(const std::string& name);

private:
    std::string path_;
    std::vector<std::string> files_;  // their paths
};

/// A new file that is written from its beginning to its end. Throws std::system_error with the path.
class NewFile {
public:
    explicit NewFile(const std::filesystem::path& path);
    /// Appends `bytes`.
    void write(Bytes bytes);
    /// The last chance to hear that the disk is full; without it the destructor closes the file, and says
    /// nothing.
    void close();

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    [[noreturn]] void fail() const;

    std::string path_;
    std::unique_ptr<std::FILE, Close> file_;
};

}  // namespace zun::input

#endif
