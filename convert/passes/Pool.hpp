// Pool: objects that one thread uses at a time, as many as threads need at once.

#ifndef ZUN_CONVERT_PASSES_POOL_HPP
#define ZUN_CONVERT_PASSES_POOL_HPP

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace zun::convert {

template <typename Object>
class Pool {
public:
    using ObjectPtr = std::unique_ptr<Object>;

    /// An object that nobody uses; what `make` returns when there is none.
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
