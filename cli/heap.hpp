// heap: how the tool's memory is got from the system.

#ifndef ZUN_CLI_HEAP_HPP
#define ZUN_CLI_HEAP_HPP

namespace zun::cli {

/// Makes one heap of large pages, which keeps what is freed; call it first. Without glibc nothing happens.
///
/// Buffers of some megabytes come and go with every batch. By default they go back to the system each time
/// and their pages come anew, one fault for every 4 KiB, at which threads wait for each other.
void prepare_heap();

}  // namespace zun::cli

#endif
