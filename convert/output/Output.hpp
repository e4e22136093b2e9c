// Output: where the text of each topic goes.
//
// In: blocks of whole rows, topic by topic. Out: files that bear their names only once they are complete, one
// stream, or nothing but a count.

#ifndef ZUN_CONVERT_OUTPUT_OUTPUT_HPP
#define ZUN_CONVERT_OUTPUT_OUTPUT_HPP

#include <cstdint>
#include <deque>
#include <filesystem>
#include <list>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "convert/output/BlobFolders.hpp"

namespace zun::convert {

class Output {
public:
    virtual ~Output() = default;
    /// Appends to the text of `topic`. Throws std::system_error, naming the file, when it cannot.
    virtual void write(std::size_t topic, std::string_view text) = 0;
    /// Appends what a file holds, as write() does. Throws likewise.
    virtual void append(std::size_t topic, const std::filesystem::path& from) = 0;
    /// Makes a file of its own in a folder for blobs. From any thread, while others write(). Throws likewise.
    virtual void write_blob(std::size_t folder, const std::string& name,
                            std::span<const std::byte> bytes) = 0;
    /// What follows of `topic` goes to a file of its own called `name`.
    virtual void begin_file(std::size_t topic, const std::string& name) = 0;
    /// Makes what was written permanent. Once, after the last write.
    virtual void finish() = 0;
};

/// One file a topic or several, thousands at need: few are open at a time. Without finish() nothing is left
/// behind.
class OutputFiles : public Output {
public:
    /// Nothing is made before the first write, and no folder where nothing is written. Unfinished files have
    /// names that no other process uses, so that several may write into one folder.
    ///
    /// `folder`     made when it is not there
    /// `names`      by topic, without folder; empty where nothing is written
    /// `overwrite`  whether finish() replaces files of these names; else it throws std::system_error
    OutputFiles(std::filesystem::path folder, const std::vector<std::string>& names,
                const std::vector<std::string>& blob_folders, bool overwrite);
    ~OutputFiles() override;
    OutputFiles(const OutputFiles&) = delete;
    OutputFiles& operator=(const OutputFiles&) = delete;

    void write(std::size_t topic, std::string_view text) override;
    void append(std::size_t topic, const std::filesystem::path& from) override;
    void write_blob(std::size_t folder, const std::string& name, std::span<const std::byte> bytes) override;
    void begin_file(std::size_t topic, const std::string& name) override;
    void finish() override;

    /// Whether there is anything of this name, a link to nothing included.
    static bool exists(const std::filesystem::path& file);
    /// The first of these names that something in `folder` has; none when all are free.
    static std::optional<std::filesystem::path> existing(const std::filesystem::path& folder,
                                                         const std::vector<std::string>& names);
    /// The names of all that is in `folder`, sorted; none where there is no such folder.
    static std::vector<std::string> names_in(const std::filesystem::path& folder);

private:
    struct File {
        std::filesystem::path path;
        std::filesystem::path part = {};      // the same under a name of its own while it is unfinished
        std::string pending = {};             // not yet written
        int descriptor = -1;                  // open while 0 or more
        std::list<File*>::iterator use = {};  // in open_, while open
    };

    void make_folder();
    void give_name(File& file);
    void flush(File& file);
    void open(File& file);
    void close(File& file);

    std::filesystem::path folder_;
    std::vector<std::filesystem::path> made_folders_;  // innermost first; to go again unless finished
    std::mutex making_folder_;
    bool has_folder_ = false;
    bool overwrite_;
    std::size_t most_open_;
    std::size_t pending_bytes_ = 0;
    std::deque<File> files_;      // the first of each topic, and behind them the further ones
    std::vector<File*> current_;  // by topic: the file that is written
    std::list<File*> open_;       // most recently used first
    BlobFolders blob_folders_;
};

/// All text to one descriptor, which stays the caller's.
class OutputStream : public Output {
public:
    /// `name`  what errors call it
    OutputStream(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {}
    void write(std::size_t topic, std::string_view text) override;
    void append(std::size_t topic, const std::filesystem::path& from) override;
    /// There is no place for them: throws std::logic_error.
    void write_blob(std::size_t folder, const std::string& name, std::span<const std::byte> bytes) override;
    void begin_file(std::size_t, const std::string&) override {}
    void finish() override {}

private:
    int descriptor_;
    std::string name_;
};

/// Counts the bytes of what is written, and drops it.
class OutputNothing : public Output {
public:
    void write(std::size_t, std::string_view) override {}
    void append(std::size_t, const std::filesystem::path&) override {}
    void write_blob(std::size_t, const std::string&, std::span<const std::byte>) override {}
    void begin_file(std::size_t, const std::string&) override {}
    void finish() override {}
};

}  // namespace zun::convert

#endif
