#include "convert/passes/pipeline.hpp"

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_pipeline.h>

namespace zun::convert {

namespace {

using StepPtr = std::shared_ptr<Step>;  // the pipeline copies what it passes on
using NextStep = std::function<std::unique_ptr<Step>()>;

void run_here(const NextStep& next) {
    while (const auto step = next()) {
        step->load();
        step->pick();
        step->work();
        step->finish();
    }
}

auto stage(tbb::filter_mode mode, void (Step::*action)()) {
    return tbb::make_filter<StepPtr, StepPtr>(mode, [action](const StepPtr& step) {
        ((*step).*action)();
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
    tbb::parallel_pipeline(
        under_way,
        tbb::make_filter<void, StepPtr>(in_order,
                                        [&](tbb::flow_control& flow) -> StepPtr {
                                            StepPtr step = next();
                                            if (!step) flow.stop();
                                            return step;
                                        }) &
            stage(anywhere, &Step::load) & stage(in_order, &Step::pick) & stage(anywhere, &Step::work) &
            tbb::make_filter<StepPtr, void>(in_order, [](const StepPtr& step) { step->finish(); }));
}

}  // namespace zun::convert
