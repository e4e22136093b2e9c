// Pool: objects that one thread uses at a time, as many as threads need at once.

#ifndef ZUN_CONVERT_PASSES_POOL_HPP
#define ZUN_CONVERT_PASSES_POOL_HPP

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace zun::convert {

/// Spares threads the making of objects that are dear to make, such as a decoder's programs. take() and
/// give() may be called by any thread at any time. An object that is taken and never given back is no longer
/// the pool's.
template <typename Object>
class Pool {
public:
    using ObjectPtr = std::unique_ptr<Object>;

    /// An object that nobody uses, the one given back last before others; what `make` returns when all are in
    /// use. `make` runs without the lock, so several threads can make one at the same time.
    template <typename Make>
    ObjectPtr take(const Make& make) {
        {
            const std::scoped_lock lock(mutex_);
            if (!idle_.empty()) {
                ObjectPtr object = std::move(idle_.back());
                idle_.pop_back();
                return object;
            }
        }
        return make();
    }

    /// Returns an object from take() in a state in which the next thread can use it.
    void give(ObjectPtr object) {
        const std::scoped_lock lock(mutex_);
        idle_.push_back(std::move(object));
    }

    /// All objects, once nobody uses any.
    const std::vector<ObjectPtr>& idle() const { return idle_; }

private:
    std::mutex mutex_;
    std::vector<ObjectPtr> idle_;
};

}  // namespace zun::convert

#endif
