// Links: whether files are read that lie outside of the folder that the user named.
//
// Links lead out of a folder, and names with ".." or from the root do. What is named by the user is read
// wherever it is.

#ifndef ZUN_INPUT_BYTES_LINKS_HPP
#define ZUN_INPUT_BYTES_LINKS_HPP

#include <filesystem>
#include <string>

namespace zun::input {

struct Links {
    bool followed = false;    ///< out of folders
    std::string advice = {};  ///< to who wants that, for the ends of errors: "--follow reads it"
};

/// Whether `file` is in `folder` or below it, once all links are followed. So is what cannot be resolved:
/// opening it tells why.
bool lies_in(const std::filesystem::path& file, const std::filesystem::path& folder);

/// Why `file` is not read, which was found in `folder` or is named there; empty where it is read.
std::string refusal(const std::filesystem::path& file, const std::filesystem::path& folder,
                    const Links& links);

}  // namespace zun::input

#endif
