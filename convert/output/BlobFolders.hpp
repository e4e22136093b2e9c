// BlobFolders: a folder of files for each field whose values are files.

#ifndef ZUN_CONVERT_OUTPUT_BLOB_FOLDERS_HPP
#define ZUN_CONVERT_OUTPUT_BLOB_FOLDERS_HPP

#include <cstddef>
#include <filesystem>
#include <mutex>
#include <span>
#include <string>
#include <vector>

namespace zun::convert {

/// The folders bear their names only once they are complete.
class BlobFolders {
public:
    /// `names`      of the folders, in `parent`; one to which nothing is written is not made
    /// `overwrite`  whether finish() replaces folders of these names; else it throws std::system_error
    BlobFolders(const std::filesystem::path& parent, const std::vector<std::string>& names, bool overwrite);

    /// Makes a file called `name` in a folder whose parent is there. From any thread. Throws
    /// std::system_error, naming the file, when it cannot.
    void write(std::size_t folder, const std::string& name, std::span<const std::byte> bytes);
    /// Gives the folders their names. Once, after the last write.
    void finish();
    /// What is left of them without that goes.
    void remove_unfinished();

private:
    struct Folder {
        std::filesystem::path path;
        std::filesystem::path part = {};  // the same under a name of its own; empty while there is none
    };

    std::filesystem::path part_of(std::size_t folder);
    void give_name(Folder& folder) const;

    bool overwrite_;
    std::mutex mutex_;  // of making folders
    std::vector<Folder> folders_;
};

}  // namespace zun::convert

#endif
