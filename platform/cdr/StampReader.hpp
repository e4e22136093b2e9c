// StampReader: one time out of samples, without their other values.

#ifndef ZUN_PLATFORM_CDR_STAMP_READER_HPP
#define ZUN_PLATFORM_CDR_STAMP_READER_HPP

#include <memory>
#include <optional>
#include <span>
#include <string>

#include "platform/cdr/Stamp.hpp"
#include "platform/cdr/View.hpp"
#include "platform/cdr/Writer.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::cdr {

class StampReader {
public:
    /// As SamplePrinter's constructor.
    ///
    /// `view`  shows one stamp and nothing else
    StampReader(const core::xtypes::DynamicTypeImpl& type, std::string source, Writer writer,
                const std::shared_ptr<const View>& view);
    ~StampReader();
    StampReader(const StampReader&) = delete;
    StampReader& operator=(const StampReader&) = delete;

    /// The stamp of a sample; none where it lies in an optional member that is not set. Throws InputError as
    /// the engine does.
    std::optional<Stamp> read(std::span<const std::byte> payload);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zun::cdr

#endif
