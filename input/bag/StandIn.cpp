#include "input/bag/StandIn.hpp"

#include <utility>
#include <vector>

#include "input/bag/StreamAdapter.hpp"
#include "platform/error/InputError.hpp"

namespace zun::input::rosbag2 {

namespace {

std::vector<Problem> renamed(std::span<const Problem> problems, const std::string& source) {
    std::vector<Problem> result(problems.begin(), problems.end());
    for (Problem& problem : result)
        problem.source = source;
    return result;
}

class RenamedBatch final : public BatchAdapter {
public:
    RenamedBatch(std::unique_ptr<Batch> inner, std::string source)
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

class RenamedStream final : public StreamAdapter {
public:
    RenamedStream(std::unique_ptr<MessageStream> inner, std::string source,
                  const std::optional<Unpacked>& unpacked)
        : StreamAdapter(std::move(inner)),
          source_(std::move(source)),
          channels_(StreamAdapter::channels()),
          summary_(StreamAdapter::summary()),
          problems_(renamed(StreamAdapter::problems(), source_)) {
        for (Channel& channel : channels_)
            channel.source = source_;
        if (!unpacked) return;
        summary_.file_bytes = unpacked->source_bytes;
        summary_.add_compression(unpacked->compression);
        if (unpacked->damage) problems_.push_back(*unpacked->damage);
    }

    const std::vector<Channel>& channels() const override { return channels_; }
    const Summary& summary() const override { return summary_; }
    std::span<const Problem> problems() const override { return problems_; }
    // The file that is read is a copy among the temporary files.
    bool holds_disk_space() const override { return true; }
    std::unique_ptr<Batch> next_batch() override {
        std::unique_ptr<Batch> batch = StreamAdapter::next_batch();
        if (!batch) return nullptr;
        return std::make_unique<RenamedBatch>(std::move(batch), source_);
    }

private:
    std::string source_;
    std::vector<Channel> channels_;
    Summary summary_;
    std::vector<Problem> problems_;
};

}  // namespace

std::unique_ptr<MessageStream> open_stand_in(const std::filesystem::path& file, const std::string& source,
                                             const OpenFile& open, const std::optional<Unpacked>& unpacked) {
    try {
        return std::make_unique<RenamedStream>(open(file), source, unpacked);
    } catch (const InputError& error) {
        // The user never named the file that was opened.
        throw InputError(source, error.position(), error.problem());
    }
}

}  // namespace zun::input::rosbag2
