// NodeStack: a stack whose values stay in place, and which asks for memory only when it is deeper than ever.

#ifndef ZUN_FORMAT_NODE_STACK_HPP
#define ZUN_FORMAT_NODE_STACK_HPP

#include <cstddef>
#include <iterator>
#include <list>

namespace zun::tamber::utils {

/// `Value` can be assigned, and holds nothing that must be given back when it is popped.
template <typename Value>
class NodeStack {
public:
    bool empty() const { return values_.empty(); }
    std::size_t size() const { return values_.size(); }
    Value& top() { return values_.back(); }
    /// Wants two values at least.
    const Value& below_top() const { return *std::next(values_.rbegin()); }

    Value& push(const Value& value) {
        if (spare_.empty()) return values_.emplace_back(value);
        spare_.front() = value;
        values_.splice(values_.end(), spare_, spare_.begin());
        return values_.back();
    }
    void pop() { spare_.splice(spare_.begin(), values_, std::prev(values_.end())); }
    void clear() { spare_.splice(spare_.begin(), values_); }

private:
    std::list<Value> values_;
    std::list<Value> spare_;  // nodes without a use
};

}  // namespace zun::tamber::utils

#endif
