#include "input/mcap/Batches.hpp"

namespace zun::input::mcap {

SliceBatch::SliceBatch(std::vector<Part> parts, const Key& from, const Key& until)
    : parts_(std::move(parts)), from_(from), until_(until) {
    for (const Part& part : parts_)
        if (part.is_new) new_pieces_.push_back(part.piece);
    std::sort(parts_.begin(), parts_.end(),
              [](const Part& a, const Part& b) { return a.piece->piece().offset < b.piece->piece().offset; });
}

void SliceBatch::load() {
    for (const Part& part : parts_)
        part.piece->load();
    for (const auto& piece : new_pieces_)
        problems_.insert(problems_.end(), piece->problems().begin(), piece->problems().end());
    if (parts_.size() == 1) {
        messages_ = parts_.front().piece->between(from_, until_);
        return;
    }
    for (const Part& part : parts_) {
        const auto found = part.piece->between(from_, until_);
        merged_.insert(merged_.end(), found.begin(), found.end());
    }
    // Stable, so that equal times stay in file order.
    const auto earlier = [](const Message& a, const Message& b) { return a.log_time < b.log_time; };
    if (!std::is_sorted(merged_.begin(), merged_.end(), earlier))
        std::stable_sort(merged_.begin(), merged_.end(), earlier);
    messages_ = merged_;
}

std::size_t SliceBatch::loaded_bytes() const {
    std::size_t bytes = 0;
    for (const Part& part : parts_)
        bytes += part.piece->piece().loaded_bytes();
    return bytes;
}

bool SliceBatch::is_costly() const {
    return std::any_of(parts_.begin(), parts_.end(),
                       [](const Part& part) { return part.piece->piece().is_compressed(); });
}

void PickedBatch::add(const LoadedPiece& piece) {
    for (const Message& message : piece.between(from_, until_)) {
        const Key key = std::clamp(Key{message.log_time, piece.piece().offset}, piece.piece().first_key(),
                                   piece.piece().last_key());
        picked_.push_back({key, message, bytes_.size(), message.data.size()});
        bytes_.insert(bytes_.end(), message.data.begin(), message.data.end());
    }
    if (used_bytes() > limit_bytes_) shorten();
}

void PickedBatch::add_problems(const LoadedPiece& piece) {
    problems_.insert(problems_.end(), piece.problems().begin(), piece.problems().end());
}

void PickedBatch::sort() {
    std::stable_sort(picked_.begin(), picked_.end(),
                     [](const Picked& a, const Picked& b) { return a.key < b.key; });
}

/// Drops the later half, which the next slice will have. Messages of one key stay together, and one key stays
/// in any case, so that every slice gets on.
void PickedBatch::shorten() {
    sort();
    std::size_t kept = 0;
    std::size_t used = 0;
    while (kept < picked_.size() && (used <= limit_bytes_ / 2 || picked_[kept].key == picked_[kept - 1].key))
        used += picked_[kept++].size + sizeof(Picked);
    if (kept == picked_.size()) return;
    until_ = picked_[kept].key;
    picked_.resize(kept);
    Buffer bytes;
    bytes.reserve(used);
    for (Picked& picked : picked_) {
        const Bytes data = Bytes(bytes_).subspan(picked.offset, picked.size);
        picked.offset = bytes.size();
        bytes.insert(bytes.end(), data.begin(), data.end());
    }
    bytes_ = std::move(bytes);
}

void PickedBatch::finish() {
    sort();
    messages_.reserve(picked_.size());
    for (const Picked& picked : picked_) {
        messages_.push_back(picked.message);
        messages_.back().data = Bytes(bytes_).subspan(picked.offset, picked.size);
    }
    picked_ = {};
}

}  // namespace zun::input::mcap
