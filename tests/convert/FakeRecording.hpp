// FakeRecording: a message stream of messages that a test makes.

#ifndef ZUN_TESTS_CONVERT_FAKE_RECORDING_HPP
#define ZUN_TESTS_CONVERT_FAKE_RECORDING_HPP

#include <filesystem>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "convert/Settings.hpp"
#include "input/MessageStream.hpp"
#include "platform/error/InputError.hpp"
#include "schema/TypeCatalog.hpp"
#include "tests/support/sample_bytes.hpp"

namespace zun::test {

class FakeRecording {
public:
    struct Stored {
        std::uint32_t channel;
        std::uint64_t stamp_ns;
        std::vector<std::byte> data;
    };

    std::vector<input::Channel> channels = {};
    std::vector<std::vector<Stored>> batches = {{}};
    std::vector<input::Problem> problems = {};        // of opening
    std::vector<input::Problem> batch_problems = {};  // of the first batch
    bool fails_at_first = false;  // the first pass over it finds no messages in the first batch
    std::uint64_t not_there = 0;  // messages of the first channel that only its summary counts
    std::string cut = {};         // how reading ends, when not well
    int opened = 0;               // times
    std::map<std::uint32_t, core::xtypes::DynamicTypeImpl> types = {};  // of channels with messages

    std::uint32_t add_channel(const std::string& topic, const std::string& type, const std::string& text,
                              const std::string& encoding = "cdr") {
        channels.push_back({topic, type, encoding, "ros2msg", text});
        return static_cast<std::uint32_t>(channels.size() - 1);
    }

    /// A message of the channel's type that says `value`.
    void add(std::uint32_t channel, std::uint64_t stamp_ns, const char* value) {
        const input::Channel& c = channels[channel];
        if (types.count(channel) == 0)
            types.emplace(channel,
                          schema::TypeCatalog().type_of(c.type_name, c.schema_encoding, c.schema_text));
        add_bytes(channel, stamp_ns, sample_bytes(types.at(channel), nlohmann::json::parse(value)));
    }
    void add_bytes(std::uint32_t channel, std::uint64_t stamp_ns, std::vector<std::byte> data) {
        batches.back().push_back({channel, stamp_ns, std::move(data)});
    }

    /// `fake` must outlive the recording.
    static convert::Recording recording(FakeRecording& fake, const std::filesystem::path& folder) {
        return {"fake", folder, [&fake] { return std::make_unique<Stream>(fake); }};
    }

private:
    class Loaded : public input::Batch {
    public:
        Loaded(FakeRecording& fake, std::size_t index, const input::Selection& selection)
            : fake_(fake), index_(index), selection_(selection), costly_(!fake.fails_at_first) {}

        void load() override {
            for (const Stored& stored : fake_.batches[index_]) {
                const auto time = input::Time::from_nanoseconds(stored.stamp_ns);
                const bool wanted = selection_.channels[stored.channel] &&
                                    (!selection_.start || time >= *selection_.start) &&
                                    (!selection_.end || time < *selection_.end);
                if (wanted) messages_.push_back({stored.channel, time, {time.seconds, 7}, stored.data});
            }
            if (index_ == 0) problems_ = fake_.batch_problems;
            if (index_ != 0 || !std::exchange(fake_.fails_at_first, false)) return;
            messages_.clear();
            problems_.push_back({"fake", 1, "read error"});
        }
        std::span<const input::Message> messages() const override { return messages_; }
        std::span<const input::Problem> problems() const override { return problems_; }
        std::size_t loaded_bytes() const override { return 1 << 20; }
        bool is_costly() const override { return costly_; }

    private:
        FakeRecording& fake_;
        std::size_t index_;
        input::Selection selection_;
        bool costly_;
        std::vector<input::Message> messages_;
        std::vector<input::Problem> problems_;
    };

    class Stream : public input::MessageStream {
    public:
        explicit Stream(FakeRecording& fake) : fake_(fake) {
            ++fake.opened;
            summary_.channels.resize(fake.channels.size());
            for (const auto& batch : fake.batches) {
                for (const Stored& stored : batch) {
                    ++summary_.channels[stored.channel].message_count;
                    summary_.last = input::Time::from_nanoseconds(stored.stamp_ns);
                    if (!summary_.first) summary_.first = summary_.last;
                }
            }
            if (fake.not_there > 0) summary_.channels[0].message_count += fake.not_there;
        }
        const std::vector<input::Channel>& channels() const override { return fake_.channels; }
        const input::Summary& summary() const override { return summary_; }
        std::span<const input::Problem> problems() const override { return fake_.problems; }
        void start(const input::Selection& selection) override {
            selection_ = selection;
            next_ = 0;
        }
        std::unique_ptr<input::Batch> next_batch() override {
            if (next_ < fake_.batches.size()) return std::make_unique<Loaded>(fake_, next_++, selection_);
            if (!fake_.cut.empty()) throw InputError("fake", 99, fake_.cut);
            return nullptr;
        }

    private:
        FakeRecording& fake_;
        input::Summary summary_;
        input::Selection selection_;
        std::size_t next_ = 0;
    };
};

}  // namespace zun::test

#endif
