#include "input/bag/MergedStream.hpp"

#include <algorithm>
#include <exception>
#include <limits>
#include <map>
#include <mutex>
#include <set>
#include <system_error>
#include <tuple>
#include <utility>

#include "platform/error/InputError.hpp"

namespace zun::input::rosbag2 {

namespace {

constexpr Time earliest{std::numeric_limits<std::int64_t>::min(), 0};
constexpr Time latest{std::numeric_limits<std::int64_t>::max(), 999'999'999};

Time just_after(Time time) {
    if (time.nanoseconds < 999'999'999) return {time.seconds, time.nanoseconds + 1};
    return {time.seconds + 1, 0};
}

bool same_channel(const Channel& a, const Channel& b) {
    return std::tie(a.topic, a.type_name, a.message_encoding, a.schema_encoding, a.schema_text,
                    a.type_hash) ==
           std::tie(b.topic, b.type_name, b.message_encoding, b.schema_encoding, b.schema_text, b.type_hash);
}

/// The exception that is being handled, as a problem of `file` alone. One that says nothing of a file goes
/// on.
Problem failure(const std::filesystem::path& file) {
    try {
        throw;
    } catch (const InputError& error) {
        return {file.string(), error.position(), error.problem()};
    } catch (const std::system_error& error) {
        return {file.string(), 0, "cannot be read: " + error.code().message()};
    }
}

}  // namespace

/// Damage that lies where the time axis is cut is met by both intervals; it is reported by the first.
class ProblemFilter {
public:
    void append(std::span<const Problem> problems, std::size_t interval, std::vector<Problem>& to) {
        const std::lock_guard lock(mutex_);
        for (const Problem& problem : problems) {
            const auto key = std::tuple(problem.source, problem.position, problem.text);
            if (reported_by_.try_emplace(key, interval).first->second == interval) to.push_back(problem);
        }
    }

private:
    std::mutex mutex_;
    std::map<std::tuple<std::string, std::uint64_t, std::string>, std::size_t> reported_by_;
};

struct MergedStream::Source {
    using ChannelMap = std::shared_ptr<const std::vector<std::uint32_t>>;

    Part part;
    ChannelMap channels = {};  // index in the merged channels, by the source's own
    std::optional<Time> first = {};
    std::optional<Time> last = {};
    std::shared_ptr<MessageStream> stream = {};  // null while closed; shared with the batches of this pass
};

struct MergedStream::Interval {
    Time begin;
    Time end;
    std::vector<std::size_t> sources;
};

struct MergedStream::Cursor {
    std::size_t source;
    std::shared_ptr<MessageStream> stream;
    std::shared_ptr<Batch> batch = {};  // null, or has messages from `next` on
    std::size_t next = 0;

    const Message& message() const { return batch->messages()[next]; }
};

/// A batch of one source, with the channels of the merged stream.
class MergedStream::RelabelledBatch final : public Batch {
public:
    RelabelledBatch(const Cursor& cursor, std::unique_ptr<Batch> inner, Source::ChannelMap channels,
                    std::shared_ptr<ProblemFilter> filter, std::size_t interval)
        : stream_(cursor.stream),
          inner_(std::move(inner)),
          channels_(std::move(channels)),
          filter_(std::move(filter)),
          interval_(interval) {}

    void load() override {
        inner_->load();
        messages_.assign(inner_->messages().begin(), inner_->messages().end());
        for (Message& message : messages_)
            message.channel = (*channels_)[message.channel];
        filter_->append(inner_->problems(), interval_, problems_);
    }
    std::span<const Message> messages() const override { return messages_; }
    std::span<const Problem> problems() const override { return problems_; }
    std::size_t loaded_bytes() const override { return inner_->loaded_bytes(); }
    bool is_costly() const override { return inner_->is_costly(); }

private:
    std::shared_ptr<MessageStream> stream_;  // may be needed by inner_
    std::unique_ptr<Batch> inner_;
    Source::ChannelMap channels_;
    std::shared_ptr<ProblemFilter> filter_;
    std::size_t interval_;
    std::vector<Message> messages_;
    std::vector<Problem> problems_;
};

/// Messages that lie in the batches of several sources, loaded already.
class MergedStream::CollectedBatch final : public Batch {
public:
    bool full() const { return loaded_bytes_ >= 1'048'576 || messages_.size() >= 4096; }
    bool empty() const { return messages_.empty() && problems_.empty(); }
    void hold(const Cursor& cursor) { batches_.emplace_back(cursor.stream, cursor.batch); }
    void add(Message message, std::uint32_t channel) {
        message.channel = channel;
        messages_.push_back(message);
        loaded_bytes_ += message.data.size();
    }
    std::vector<Problem>& problems_found() { return problems_; }

    void load() override {}
    std::span<const Message> messages() const override { return messages_; }
    std::span<const Problem> problems() const override { return problems_; }
    std::size_t loaded_bytes() const override { return loaded_bytes_; }

private:
    std::vector<std::pair<std::shared_ptr<MessageStream>, std::shared_ptr<Batch>>> batches_;
    std::vector<Message> messages_;
    std::vector<Problem> problems_;
    std::size_t loaded_bytes_ = 0;
};

MergedStream::MergedStream(const std::vector<Part>& parts, OpenFile open_file)
    : open_file_(std::move(open_file)) {
    std::exception_ptr refusal;
    for (const Part& part : parts) {
        try {
            add_source(part);
        } catch (...) {
            if (!refusal) refusal = std::current_exception();
            add_problem(failure(part.file));
        }
    }
    if (sources_.empty() && refusal) std::rethrow_exception(refusal);
    summary_.channels.resize(channels_.size());
    cut_time();
}

MergedStream::~MergedStream() = default;

void MergedStream::add_problem(Problem problem) {
    problems_.push_back(std::move(problem));
}

void MergedStream::add_source(const Part& part) {
    Source source{.part = part};
    source.stream = open_file_(part.file);
    const std::span<const Problem> found = source.stream->problems();
    problems_.insert(problems_.end(), found.begin(), found.end());
    add_channels(source);
    add_summary(source);
    if (!part.keep_open) source.stream.reset();
    sources_.push_back(std::move(source));
}

void MergedStream::add_channels(Source& source) {
    std::vector<std::uint32_t> merged;
    for (const Channel& channel : source.stream->channels()) {
        const auto known = std::find_if(channels_.begin(), channels_.end(),
                                        [&](const Channel& other) { return same_channel(channel, other); });
        merged.push_back(static_cast<std::uint32_t>(known - channels_.begin()));
        if (known == channels_.end()) channels_.push_back(channel);
    }
    source.channels = std::make_shared<const std::vector<std::uint32_t>>(std::move(merged));
}

void MergedStream::add_summary(Source& source) {
    const Summary& summary = source.stream->summary();
    summary_.channels.resize(channels_.size());
    for (std::size_t i = 0; i < source.channels->size(); ++i)
        summary_.channels[(*source.channels)[i]].message_count += summary.channels[i].message_count;
    summary_.file_bytes += summary.file_bytes;
    summary_.compressions.insert(summary.compressions.begin(), summary.compressions.end());
    source.first = summary.first;
    source.last = summary.last;
    if (!source.first || !source.last) return;
    if (!summary_.first || *source.first < *summary_.first) summary_.first = source.first;
    if (!summary_.last || *source.last > *summary_.last) summary_.last = source.last;
}

// A source without messages still has its damage to report, in a interval of its own.
void MergedStream::cut_time() {
    std::set<Time> cuts;
    for (std::size_t i = 0; i < sources_.size(); ++i) {
        const Source& source = sources_[i];
        if (source.first && source.last) {
            cuts.insert({*source.first, just_after(*source.last)});
        } else {
            intervals_.push_back({earliest, latest, {i}});
        }
    }
    for (auto cut = cuts.begin(); cut != cuts.end() && std::next(cut) != cuts.end(); ++cut) {
        Interval interval{*cut, *std::next(cut), {}};
        for (std::size_t i = 0; i < sources_.size(); ++i) {
            const Source& source = sources_[i];
            if (source.first && source.last && *source.first <= interval.begin &&
                *source.last >= interval.begin)
                interval.sources.push_back(i);
        }
        if (!interval.sources.empty()) intervals_.push_back(std::move(interval));
    }
}

bool MergedStream::holds_disk_space() const {
    return std::any_of(sources_.begin(), sources_.end(), [](const Source& source) {
        return source.stream && source.stream->holds_disk_space();
    });
}

void MergedStream::start(const Selection& selection) {
    selection_ = selection;
    selection_.channels.resize(channels_.size(), selection.channels.empty());
    next_interval_ = 0;
    cursors_.clear();
    pending_.clear();
    filter_ = std::make_shared<ProblemFilter>();
}

std::vector<Extent> MergedStream::extents(const Selection& selection) {
    start(selection);
    std::vector<Extent> extents;
    for (const Source& source : sources_) {
        const std::shared_ptr<MessageStream> stream =
            source.stream ? source.stream : open_file_(source.part.file);
        const std::vector<Extent> more = stream->extents(selection_of(source));
        extents.insert(extents.end(), more.begin(), more.end());
    }
    return extents;
}

/// That of this stream in the source's own channels.
Selection MergedStream::selection_of(const Source& source) const {
    Selection selection{.start = selection_.start, .end = selection_.end, .stretch = selection_.stretch};
    for (const std::uint32_t channel : *source.channels)
        selection.channels.push_back(selection_.channels[channel]);
    return selection;
}

void MergedStream::enter_interval(const Interval& interval) {
    const auto& [from, until] = selection_.stretch;
    const bool before =
        (selection_.start && *selection_.start >= interval.end) || (from && *from >= interval.end);
    const bool after =
        (selection_.end && *selection_.end <= interval.begin) || (until && *until <= interval.begin);
    if (before || after) return;
    for (const std::size_t index : interval.sources)
        enter_source(interval, index);
}

// A source's first interval has no start and its last no end: a time span that its summary promises too
// narrow loses no message.
void MergedStream::enter_source(const Interval& interval, std::size_t index) {
    Source& source = sources_[index];
    Selection selection = selection_of(source);
    if (std::find(selection.channels.begin(), selection.channels.end(), true) == selection.channels.end())
        return;
    if (source.first && *source.first != interval.begin)
        selection.start = std::max(selection.start.value_or(earliest), interval.begin);
    if (source.last && just_after(*source.last) != interval.end)
        selection.end = std::min(selection.end.value_or(latest), interval.end);
    // The first stretch of an interval has what comes before it, and the last one what comes behind.
    auto& [from, until] = selection.stretch;
    if (from && *from <= interval.begin) from.reset();
    if (until && *until >= interval.end) until.reset();
    try {
        if (!source.stream) source.stream = open_file_(source.part.file);
        if (source.stream->channels().size() != source.channels->size())
            throw InputError(source.part.file.string(), 0, "the file has changed since it was opened");
        source.stream->start(selection);
        cursors_.push_back({.source = index, .stream = source.stream});
    } catch (...) {
        pending_.push_back(failure(source.part.file));
    }
}

std::unique_ptr<Batch> MergedStream::next_batch() {
    for (;;) {
        while (cursors_.empty() && next_interval_ < intervals_.size())
            enter_interval(intervals_[next_interval_++]);
        const bool alone = cursors_.size() == 1 && !cursors_.front().batch && pending_.empty();
        std::unique_ptr<Batch> batch = alone ? pass_on() : merge();
        const bool ended = cursors_.empty() && pending_.empty() && next_interval_ == intervals_.size();
        if (batch || ended) return batch;
    }
}

/// The next batch of the source that is alone in its interval; null at its end.
std::unique_ptr<Batch> MergedStream::pass_on() {
    Cursor& cursor = cursors_.front();
    std::unique_ptr<Batch> batch = read(cursor);
    if (!batch) {
        leave(cursor);
        cursors_.clear();
        return nullptr;
    }
    return std::make_unique<RelabelledBatch>(cursor, std::move(batch), sources_[cursor.source].channels,
                                             filter_, next_interval_);
}

/// Messages of all sources of the interval, earliest first; null when there are none left.
std::unique_ptr<Batch> MergedStream::merge() {
    auto collected = std::make_unique<CollectedBatch>();
    for (const Cursor& cursor : cursors_)
        if (cursor.batch) collected->hold(cursor);
    while (!collected->full()) {
        std::erase_if(cursors_, [&](Cursor& cursor) { return !cursor.batch && !refill(cursor, *collected); });
        // Cursors stand in the order of their sources, so of equal times the first source's comes first.
        const auto first = std::min_element(
            cursors_.begin(), cursors_.end(),
            [](const auto& a, const auto& b) { return a.message().log_time < b.message().log_time; });
        if (first == cursors_.end()) break;
        collected->add(first->message(), (*sources_[first->source].channels)[first->message().channel]);
        if (++first->next == first->batch->messages().size()) first->batch.reset();
        if (cursors_.size() == 1 && !first->batch) break;
    }
    collected->problems_found().insert(collected->problems_found().end(), pending_.begin(), pending_.end());
    pending_.clear();
    if (collected->empty()) return nullptr;
    return collected;
}

bool MergedStream::refill(Cursor& cursor, CollectedBatch& collected) {
    while (std::unique_ptr<Batch> batch = read(cursor)) {
        batch->load();
        filter_->append(batch->problems(), next_interval_, collected.problems_found());
        if (batch->messages().empty()) continue;
        cursor.batch = std::move(batch);
        cursor.next = 0;
        collected.hold(cursor);
        return true;
    }
    leave(cursor);
    return false;
}

/// The source's next batch. One that cannot be read on ends there.
std::unique_ptr<Batch> MergedStream::read(Cursor& cursor) {
    try {
        return cursor.stream->next_batch();
    } catch (...) {
        pending_.push_back(failure(sources_[cursor.source].part.file));
        return nullptr;
    }
}

void MergedStream::leave(const Cursor& cursor) {
    Source& source = sources_[cursor.source];
    if (!source.part.keep_open) source.stream.reset();
}

}  // namespace zun::input::rosbag2
