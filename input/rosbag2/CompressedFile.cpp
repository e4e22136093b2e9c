// A storage file inside a zstd stream, unpacked into the folder for temporary files.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <zstd.h>

#include "input/rosbag2/Rosbag2.hpp"
#include "input/rosbag2/StorageFile.hpp"
#include "input/rosbag2/StreamAdapter.hpp"
#include "platform/error/InputError.hpp"

namespace zun::input::rosbag2 {

namespace {

namespace fs = std::filesystem;

/// A new folder of its own, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder() : path_((fs::temp_directory_path() / "dds2csv-XXXXXX").string()) {
        if (::mkdtemp(path_.data()) == nullptr)
            throw std::system_error(errno, std::generic_category(), "temporary folder " + path_);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    fs::path path() const { return path_; }

private:
    std::string path_;
};

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
struct FreeStream {
    void operator()(ZSTD_DStream* stream) const { ZSTD_freeDStream(stream); }
};

class FileHandle {
public:
    FileHandle(const fs::path& path, const char* mode) : path_(path), file_(std::fopen(path.c_str(), mode)) {
        if (!file_) fail();
    }
    std::size_t read(std::vector<char>& into) {
        const std::size_t count = std::fread(into.data(), 1, into.size(), file_.get());
        if (std::ferror(file_.get()) != 0) fail();
        return count;
    }
    void write(const char* bytes, std::size_t count) {
        if (std::fwrite(bytes, 1, count, file_.get()) != count) fail();
    }
    void flush() {
        if (std::fflush(file_.get()) != 0) fail();
    }

private:
    [[noreturn]] void fail() const {
        throw std::system_error(errno, std::generic_category(), path_.string());
    }

    fs::path path_;
    std::unique_ptr<std::FILE, CloseFile> file_;
};

/// Unpacks what `in` holds. Returns 0 at the end of a frame, else what zstd expects next or its error.
std::size_t unpack_block(ZSTD_DStream* stream, ZSTD_inBuffer& in, std::vector<char>& unpacked,
                         FileHandle& target) {
    ZSTD_outBuffer out{unpacked.data(), unpacked.size(), 0};
    std::size_t left = 0;
    do {
        out.pos = 0;
        left = ZSTD_decompressStream(stream, &out, &in);
        if (ZSTD_isError(left) != 0) break;
        target.write(unpacked.data(), out.pos);
    } while (in.pos < in.size || out.pos == out.size);
    return left;
}

/// Unpacks frame after frame, up to the first damage.
std::optional<Problem> unpack(const fs::path& from, const fs::path& to) {
    FileHandle source(from, "rb");
    FileHandle target(to, "wb");
    const std::unique_ptr<ZSTD_DStream, FreeStream> stream(ZSTD_createDStream());
    if (!stream) throw std::bad_alloc();
    std::vector<char> packed(ZSTD_DStreamInSize());
    std::vector<char> unpacked(ZSTD_DStreamOutSize());
    std::uint64_t position = 0;
    std::size_t left = 0;
    while (const std::size_t count = source.read(packed)) {
        ZSTD_inBuffer in{packed.data(), count, 0};
        left = unpack_block(stream.get(), in, unpacked, target);
        position += in.pos;
        if (ZSTD_isError(left) != 0) break;
    }
    target.flush();
    if (left == 0) return std::nullopt;
    if (ZSTD_isError(left) == 0)
        return Problem{from.string(), position, "the zstd stream ends within a frame"};
    return Problem{from.string(), position,
                   std::string("the zstd stream is damaged: ") + ZSTD_getErrorName(left)};
}

/// A stream over the unpacked file that speaks of the file that was packed.
class UnpackedStream final : public StreamAdapter {
public:
    UnpackedStream(std::unique_ptr<MessageStream> inner, std::string source, std::optional<Problem> damage)
        : StreamAdapter(std::move(inner)),
          source_(std::move(source)),
          channels_(StreamAdapter::channels()),
          problems_(renamed(StreamAdapter::problems(), source_)) {
        for (Channel& channel : channels_)
            channel.source = source_;
        if (damage) problems_.push_back(*std::move(damage));
    }

    const std::vector<Channel>& channels() const override { return channels_; }
    std::span<const Problem> problems() const override { return problems_; }
    std::unique_ptr<Batch> next_batch() override {
        std::unique_ptr<Batch> batch = StreamAdapter::next_batch();
        if (!batch) return nullptr;
        return std::make_unique<UnpackedBatch>(std::move(batch), source_);
    }

private:
    class UnpackedBatch final : public BatchAdapter {
    public:
        UnpackedBatch(std::unique_ptr<Batch> inner, std::string source)
            : BatchAdapter(std::move(inner)), source_(std::move(source)) {}
        void load() override {
            BatchAdapter::load();
            problems_ = renamed(BatchAdapter::problems(), source_);
        }
        std::span<const Problem> problems() const override { return problems_; }

    private:
        std::string source_;
        std::vector<Problem> problems_;
    };

    static std::vector<Problem> renamed(std::span<const Problem> problems, const std::string& source) {
        std::vector<Problem> result(problems.begin(), problems.end());
        for (Problem& problem : result)
            problem.source = source;
        return result;
    }

    std::string source_;
    std::vector<Channel> channels_;
    std::vector<Problem> problems_;
};

}  // namespace

// The name of the unpacked file is gone as soon as it is open, so that not even a killed process leaves it.
std::unique_ptr<MessageStream> open_compressed(const fs::path& file, const OpenFile& open_file) {
    const TemporaryFolder folder;
    const fs::path unpacked = folder.path() / without_zstd(file.filename());
    std::optional<Problem> damage = unpack(file, unpacked);
    try {
        return std::make_unique<UnpackedStream>(open_file(unpacked), file.string(), damage);
    } catch (const InputError& error) {
        if (damage) throw InputError(file.string(), damage->position, damage->text);
        throw InputError(file.string(), error.position(), error.problem());
    }
}

}  // namespace zun::input::rosbag2
