// pipeline: steps that are worked on by several threads, and begin and end in their order.
//
//     next      one thread, in order        step 0    1    2    3
//     load      any thread                       0  1    2    3
//     pick      one thread, in order             0    1    2    3
//     work      any thread                         1  0    3    2
//     finish    one thread, in order               0    1    2    3

#ifndef ZUN_CONVERT_PASSES_PIPELINE_HPP
#define ZUN_CONVERT_PASSES_PIPELINE_HPP

#include <cstddef>
#include <functional>
#include <memory>

namespace zun::convert {

class Step {
public:
    virtual ~Step() = default;
    /// What it holds once it is loaded.
    virtual std::size_t bytes() const = 0;
    virtual void load() = 0;
    virtual void pick() = 0;
    virtual void work() = 0;
    virtual void finish() = 0;
};

/// Takes steps from `next` until it returns null. A few of them are under way at a time, and none is begun
/// while those hold more than 128 MiB. What a step throws ends the run and is thrown on.
///
/// `jobs`  threads, at least one, the calling one among them; fewer where the system gives no more
void run_steps(unsigned jobs, const std::function<std::unique_ptr<Step>()>& next);

}  // namespace zun::convert

#endif
