#include "input/mcap/McapStream.hpp"

#include "input/bytes/first_bytes.hpp"
#include "input/mcap/Batches.hpp"
#include "platform/error/InputError.hpp"

namespace zun::input {

namespace mcap {

namespace {

void check_magic(const File& file) {
    std::array<std::byte, magic.size()> begin;
    const std::size_t got = file.read(0, begin);
    if (got == magic.size() && std::memcmp(begin.data(), magic.data(), got) == 0) return;
    const bool is_version = got == magic.size() && is_mcap(begin);
    throw InputError(file.name(), 0,
                     "expected the magic of an MCAP file, found " +
                         (got == 0     ? "an empty file"
                          : is_version ? "version '" + std::string(1, static_cast<char>(begin[5])) +
                                             "' of the format, which is not known"
                                       : "other bytes"));
}

/// Comes after the messages of a pass, and tells when the file has become another meanwhile.
class ClosingBatch final : public Batch {
public:
    explicit ClosingBatch(std::shared_ptr<const IndexedFile> file) : file_(std::move(file)) {}

    void load() override {
        if (file_->bytes.has_changed())
            problems_.push_back(make_problem(file_->bytes.name(), 0,
                                             "the file has changed since it was opened; "
                                             "its messages may be others than those that were read"));
    }
    std::span<const Message> messages() const override { return {}; }
    std::span<const Problem> problems() const override { return problems_; }
    std::size_t loaded_bytes() const override { return 0; }
    bool is_costly() const override { return false; }

private:
    std::shared_ptr<const IndexedFile> file_;
    std::vector<Problem> problems_;
};

class McapStream final : public MessageStream {
public:
    McapStream(const std::filesystem::path& path, const McapLimits& limits)
        : file_(std::make_shared<const IndexedFile>(path)), limits_(limits) {
        start({});
    }

    const std::vector<Channel>& channels() const override { return file_->contents.channels.channels(); }
    const Summary& summary() const override { return file_->contents.summary; }
    std::span<const Problem> problems() const override { return file_->contents.problems; }
    std::vector<Extent> extents(const Selection& selection) override;
    void start(const Selection& selection) override;
    std::unique_ptr<Batch> next_batch() override;

private:
    void open_piece();
    void leave(const Key& until);
    std::unique_ptr<Batch> slice(const Key& until);
    std::unique_ptr<Batch> pick();
    bool is_room() const { return open_bytes_ + waiting_[next_]->loaded_bytes() <= limits_.batch_bytes; }
    Part closed(const Piece& piece) const {
        return {std::make_shared<LoadedPiece>(file_, filter_, piece), true};
    }

    std::shared_ptr<const IndexedFile> file_;
    McapLimits limits_;
    std::shared_ptr<const Filter> filter_;
    std::vector<const Piece*>
        waiting_;  // wanted ones, by their first keys; those before next_ have been opened
    std::size_t next_ = 0;
    bool has_ended_ = false;
    std::vector<Part> open_;  // reach into the slice that comes
    std::size_t open_bytes_ = 0;
    Key from_;   // where that slice begins
    Key until_;  // where the last slice ends
};

std::vector<Extent> McapStream::extents(const Selection& selection) {
    start(selection);
    std::vector<Extent> extents;
    for (const Piece* const piece : waiting_)
        extents.push_back({piece->first_key().log_time, piece->last_key().log_time, piece->bytes});
    return extents;
}

void McapStream::start(const Selection& selection) {
    filter_ = std::make_shared<const Filter>(file_->contents.channels, selection);
    waiting_.clear();
    open_.clear();
    next_ = 0;
    has_ended_ = false;
    open_bytes_ = 0;
    from_ = {selection.stretch.from.value_or(Time{std::numeric_limits<std::int64_t>::min(), 0}), 0};
    until_ = selection.stretch.until ? Key{*selection.stretch.until, 0} : Key::beyond_all();
    for (const Piece& piece : file_->contents.pieces)
        if (filter_->wants(piece) && piece.last_key() >= from_ && piece.first_key() < until_)
            waiting_.push_back(&piece);
    std::sort(waiting_.begin(), waiting_.end(),
              [](const Piece* a, const Piece* b) { return a->first_key() < b->first_key(); });
}

std::unique_ptr<Batch> McapStream::next_batch() {
    if (open_.empty() && next_ == waiting_.size()) {
        if (std::exchange(has_ended_, true)) return nullptr;
        return std::make_unique<ClosingBatch>(file_);
    }
    if (next_ < waiting_.size()) open_piece();
    while (next_ < waiting_.size() && is_room())
        open_piece();
    if (open_.size() > 1 && open_bytes_ > limits_.overlap_bytes) return pick();
    return slice(next_ < waiting_.size() ? waiting_[next_]->first_key() : until_);
}

void McapStream::open_piece() {
    const Piece& piece = *waiting_[next_++];
    open_bytes_ += piece.loaded_bytes();
    open_.push_back(closed(piece));
}

/// Goes on to the slice that begins at `until`.
void McapStream::leave(const Key& until) {
    std::erase_if(
        open_, [&](const Part& part) { return until == until_ || part.piece->piece().last_key() < until; });
    open_bytes_ = 0;
    for (const Part& part : open_)
        open_bytes_ += part.piece->piece().loaded_bytes();
    from_ = until;
}

std::unique_ptr<Batch> McapStream::slice(const Key& until) {
    auto batch = std::make_unique<SliceBatch>(open_, from_, until);
    for (Part& part : open_)
        part.is_new = false;
    leave(until);
    return batch;
}

/// A slice of as many messages as memory should hold, whichever pieces they are in; loads these in turn.
std::unique_ptr<Batch> McapStream::pick() {
    auto batch = std::make_unique<PickedBatch>(from_, until_, limits_.overlap_bytes);
    for (std::size_t n = 0; n < open_.size(); ++n) {
        const Piece& piece = open_[n].piece->piece();
        if (piece.first_key() < batch->until()) {
            const Part fresh = closed(piece);
            fresh.piece->load();
            batch->add(*fresh.piece);
            if (open_[n].is_new) batch->add_problems(*fresh.piece);
            open_[n] = {closed(piece).piece, false};
        }
        if (n + 1 == open_.size() && next_ < waiting_.size() && waiting_[next_]->first_key() < batch->until())
            open_piece();
    }
    batch->finish();
    leave(batch->until());
    return batch;
}

}  // namespace

IndexedFile::IndexedFile(const std::filesystem::path& path)
    : bytes(path), contents{ChannelTable(bytes.name())} {
    check_magic(bytes);
    std::optional<Problem> doubt;
    if (auto by_summary = read_summary(bytes, doubt)) {
        contents = std::move(*by_summary);
    } else {
        contents = scan(bytes);
        if (doubt) contents.problems.insert(contents.problems.begin(), *doubt);
    }
    contents.summary.file_bytes = bytes.size();
}

}  // namespace mcap

bool is_mcap(std::span<const std::byte> first_bytes) {
    return starts_with(first_bytes, mcap::magic.substr(0, 5));
}

std::unique_ptr<MessageStream> open_mcap(const std::filesystem::path& path, const McapLimits& limits) {
    return std::make_unique<mcap::McapStream>(path, limits);
}

}  // namespace zun::input
