#include "convert/passes/pipeline.hpp"

#include <array>
#include <cstddef>
#include <vector>

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_pipeline.h>
#include <oneapi/tbb/version.h>
#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#endif

namespace zun::convert {

namespace {

using NextStep = std::function<std::unique_ptr<Step>()>;

// What a thread did before give(), another one sees after take() of the same thing. TBB sees to that, but its
// library is not built for the thread sanitizer, which has to be told.
#ifdef __SANITIZE_THREAD__
void give(const void* thing) {
    if (thing != nullptr) __tsan_release(const_cast<void*>(thing));
}
void take(const void* thing) {
    if (thing != nullptr) __tsan_acquire(const_cast<void*>(thing));
}
#else
void give(const void*) {}
void take(const void*) {}
#endif

void run_here(const NextStep& next) {
    while (const auto step = next()) {
        step->load();
        step->pick();
        step->work();
        step->finish();
    }
}

constexpr char begun = 0;  // given once the stages are made, so that threads see what they capture

/// `turn`  taken and given by stages that one thread works at a time, in order; null for others
auto stage(tbb::filter_mode mode, void (Step::*action)(), const void* turn = nullptr) {
    return tbb::make_filter<Step*, Step*>(mode, [action, turn](Step* step) {
        take(&begun);
        take(turn);
        take(step);
        (step->*action)();
        give(step);
        give(turn);
        return step;
    });
}

}  // namespace

void run_steps(unsigned jobs, const NextStep& next) {
    if (jobs <= 1) return run_here(next);
    constexpr auto in_order = tbb::filter_mode::serial_in_order;
    constexpr auto anywhere = tbb::filter_mode::parallel;
    const tbb::global_control threads(tbb::global_control::max_allowed_parallelism, jobs);
    const std::size_t under_way = jobs + 2;  // enough that no thread waits; each holds a batch and its rows
    std::vector<std::unique_ptr<Step>> steps(
        under_way);  // they end in order, so the oldest makes room for the next
    std::size_t begun_steps = 0;
    const std::array<char, 3> turns = {};
    const auto take_next = [&](tbb::flow_control& flow) -> Step* {
        take(&begun);
        take(&turns[0]);
        auto& place = steps[begun_steps++ % under_way];
        take(place.get());
        place.reset();
        place = next();
        Step* const step = place.get();
        if (step == nullptr) flow.stop();
        give(step);
        give(&turns[0]);
        return step;
    };
    const auto stages = tbb::make_filter<void, Step*>(in_order, take_next) & stage(anywhere, &Step::load) &
                        stage(in_order, &Step::pick, &turns[1]) & stage(anywhere, &Step::work) &
                        stage(in_order, &Step::finish, &turns[2]) &
                        tbb::make_filter<Step*, void>(in_order, [](Step*) {});
    give(&begun);
    tbb::parallel_pipeline(under_way, stages);
    take(&turns[0]);
    take(&turns[2]);
}

std::string tbb_version() {
    return std::string("tbb/") + TBB_runtime_version();
}

}  // namespace zun::convert
