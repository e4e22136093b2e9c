// pipeline: steps that are worked on by several threads, and begin and end in their order.
//
//     next      one thread, in order        step 0    1    2    3
//     load      any thread                       0  1    2    3
//     pick      one thread, in order             0    1    2    3
//     work      any thread                         1  0    3    2
//     finish    one thread, in order               0    1    2    3

#ifndef ZUN_CONVERT_PASSES_PIPELINE_HPP
#define ZUN_CONVERT_PASSES_PIPELINE_HPP

#include <functional>
#include <memory>
#include <string>

namespace zun::convert {

class Step {
public:
    virtual ~Step() = default;
    virtual void load() = 0;
    virtual void pick() = 0;
    virtual void work() = 0;
    virtual void finish() = 0;
};

/// Takes steps from `next` until it returns null, a few of them under way at a time. `jobs` threads, at least
/// one; one means the calling thread alone. What a step throws ends the run and is thrown on.
void run_steps(unsigned jobs, const std::function<std::unique_ptr<Step>()>& next);

/// "tbb/2021.8": the library that runs the threads, by its own word.
std::string tbb_version();

}  // namespace zun::convert

#endif
