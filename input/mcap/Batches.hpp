// Batches: slices of the recording, made from the pieces that reach into them.

#ifndef ZUN_INPUT_MCAP_BATCHES_HPP
#define ZUN_INPUT_MCAP_BATCHES_HPP

#include "input/mcap/LoadedPiece.hpp"

namespace zun::input::mcap {

/// What a slice takes from a piece.
struct Part {
    std::shared_ptr<LoadedPiece> piece;
    bool is_new = false;  ///< the first slice that has the piece reports its problems
};

/// Shares its pieces with other batches: a piece is read when the first of them is loaded, and its memory is
/// free when the last is dropped.
class SliceBatch final : public Batch {
public:
    /// The messages with keys from `from` up to, not including, `until`.
    SliceBatch(std::vector<Part> parts, const Key& from, const Key& until);

    void load() override;
    std::span<const Message> messages() const override { return messages_; }
    std::span<const Problem> problems() const override { return problems_; }
    std::size_t loaded_bytes() const override;
    bool is_costly() const override;

private:
    // In the order of their first keys, so that problems come in one order however the time is sliced.
    std::vector<std::shared_ptr<LoadedPiece>> new_pieces_;
    std::vector<Part> parts_;  // in file order
    Key from_;
    Key until_;
    std::vector<Message> merged_;  // of several parts
    std::span<const Message> messages_;
    std::vector<Problem> problems_;
};

/// Copies of the earliest messages of any number of pieces, as many as a limit allows; for recordings in
/// which so many pieces overlap that they do not fit into memory together. Complete before load().
class PickedBatch final : public Batch {
public:
    PickedBatch(const Key& from, const Key& until, std::size_t limit_bytes)
        : from_(from), until_(until), limit_bytes_(limit_bytes) {}

    /// Takes what the slice holds of a piece. May move the end of the slice forward.
    void add(const LoadedPiece& piece);
    void add_problems(const LoadedPiece& piece);
    /// Sorts what was added and points the messages at it. To be called once, after the last add().
    void finish();
    /// Where the next slice begins.
    const Key& until() const { return until_; }

    void load() override {}
    std::span<const Message> messages() const override { return messages_; }
    std::span<const Problem> problems() const override { return problems_; }
    std::size_t loaded_bytes() const override { return bytes_.size() + messages_.size() * sizeof(Message); }

private:
    struct Picked {
        Key key;
        Message message;  // its data are set by finish()
        std::size_t offset = 0;
        std::size_t size = 0;
    };
    void sort();
    void shorten();
    std::size_t used_bytes() const { return bytes_.size() + picked_.size() * sizeof(Picked); }

    Key from_;
    Key until_;
    std::size_t limit_bytes_;
    std::vector<Picked> picked_;
    Buffer bytes_;
    std::vector<Message> messages_;
    std::vector<Problem> problems_;
};

}  // namespace zun::input::mcap

#endif
