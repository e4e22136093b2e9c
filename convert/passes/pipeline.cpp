#include "convert/passes/pipeline.hpp"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace zun::convert {

namespace {

using NextStep = std::function<std::unique_ptr<Step>()>;

constexpr std::size_t most_bytes = std::size_t{128} << 20;

/// Every thread runs the same loop: it does what can be done for the oldest step that has something to do,
/// or takes another step, or waits until a thread has done something.
class Pipeline {
public:
    Pipeline(std::size_t most_steps, const NextStep& next) : most_steps_(most_steps), next_(next) {}

    /// Returns when all steps are finished, or once one has thrown on any thread.
    void run() noexcept;
    void rethrow() const {
        if (error_) std::rethrow_exception(error_);
    }

private:
    enum class State : std::uint8_t { NEW, LOADED, PICKED, WORKED };
    struct Entry {
        std::unique_ptr<Step> step;
        std::size_t bytes;
        State state = State::NEW;
        bool busy = false;  // a thread is on its way to the next state
    };
    using Lock = std::unique_lock<std::mutex>;

    Entry* ready_entry();
    bool may_read() const {
        return !reading_ && !ended_ && entries_.size() < most_steps_ &&
               (entries_.empty() || bytes_ < most_bytes);
    }
    bool go_on(Lock& lock);
    void read(Lock& lock);
    void advance(Entry& entry, Lock& lock);

    const std::size_t most_steps_;  // each holds a batch and its rows
    const NextStep& next_;

    std::mutex mutex_;  // of all below, but for what belongs to a busy entry
    std::condition_variable changed_;
    std::deque<Entry> entries_;  // in order, from the first that is not finished
    std::size_t bytes_ = 0;      // of all entries
    bool reading_ = false;
    bool ended_ = false;
    std::exception_ptr error_;
};

/// The oldest entry that a thread could take on now; null for none.
Pipeline::Entry* Pipeline::ready_entry() {
    bool all_picked = true;  // all that are older
    for (Entry& entry : entries_) {
        const bool can_go_on = entry.state == State::LOADED   ? all_picked
                               : entry.state == State::WORKED ? &entry == &entries_.front()
                                                              : true;
        if (!entry.busy && can_go_on) return &entry;
        all_picked = all_picked && entry.state >= State::PICKED;
    }
    return nullptr;
}

void Pipeline::read(Lock& lock) {
    reading_ = true;
    lock.unlock();
    std::unique_ptr<Step> step = next_();
    lock.lock();
    reading_ = false;
    ended_ = step == nullptr;
    if (ended_) return;
    const std::size_t bytes = step->bytes();
    entries_.push_back({std::move(step), bytes});
    bytes_ += bytes;
}

void Pipeline::advance(Entry& entry, Lock& lock) {
    const State before = entry.state;
    entry.busy = true;
    lock.unlock();
    switch (before) {
        case State::NEW:
            entry.step->load();
            break;
        case State::LOADED:
            entry.step->pick();
            break;
        case State::PICKED:
            entry.step->work();
            break;
        case State::WORKED:
            entry.step->finish();
            entry.step.reset();
            break;
    }
    lock.lock();
    entry.busy = false;
    if (before == State::WORKED) {
        bytes_ -= entry.bytes;
        entries_.pop_front();
    } else {
        entry.state = static_cast<State>(static_cast<int>(before) + 1);
    }
}

/// False when only other threads can do something.
bool Pipeline::go_on(Lock& lock) {
    if (Entry* const entry = ready_entry())
        advance(*entry, lock);
    else if (may_read())
        read(lock);
    else
        return false;
    changed_.notify_all();
    return true;
}

void Pipeline::run() noexcept {
    Lock lock(mutex_);
    try {
        while (!error_ && !(ended_ && entries_.empty()))
            if (!go_on(lock)) changed_.wait(lock);
    } catch (...) {
        if (!lock.owns_lock()) lock.lock();
        if (!error_) error_ = std::current_exception();
        changed_.notify_all();
    }
}

}  // namespace

void run_steps(unsigned jobs, const NextStep& next) {
    Pipeline pipeline(jobs == 1 ? 1 : jobs + std::size_t{2}, next);  // enough that no thread waits
    std::vector<std::jthread> others;
    try {
        while (others.size() + 1 < jobs)
            others.emplace_back([&] { pipeline.run(); });
    } catch (const std::system_error&) {
        // The threads that there are do all of it.
    }
    pipeline.run();
    others.clear();  // once they have ended, too
    pipeline.rethrow();
}

}  // namespace zun::convert
