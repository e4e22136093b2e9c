// SamplePrinter: the engine. Walks a sample in its CDR bytes and calls a print format.
//
// In: a type, then samples as recorded. Out: calls of the record's callbacks, and between them the text of
// every value in the context. Nothing is allocated per sample.

#ifndef ZUN_PLATFORM_PRINTING_SAMPLE_PRINTER_HPP
#define ZUN_PLATFORM_PRINTING_SAMPLE_PRINTER_HPP

#include <memory>
#include <span>
#include <string>

#include "platform/cdr/Encoding.hpp"
#include "platform/cdr/Exclusions.hpp"
#include "platform/cdr/Findings.hpp"
#include "platform/printing/DDS_PrintFormat.hpp"
#include "platform/printing/ValueText.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::printing {

class SamplePrinter {
public:
    /// Compiles the walk of `type`, which is a structure or a union, or an alias of one.
    ///
    /// `source`    names the samples in errors: the topic
    /// `excluded`  members that are neither announced nor printed; null for none
    /// Throws      std::invalid_argument for any other type, or for one that no reader can decode
    SamplePrinter(const core::xtypes::DynamicTypeImpl& type, std::string source,
                  cdr::Writer writer = cdr::Writer::UNKNOWN, TextStyle style = {},
                  std::shared_ptr<const cdr::Exclusions> excluded = nullptr);
    ~SamplePrinter();
    SamplePrinter(const SamplePrinter&) = delete;
    SamplePrinter& operator=(const SamplePrinter&) = delete;

    /// Prints one sample: its callbacks through `format`, its text into `context`.
    ///
    /// `payload`  the sample as recorded, encapsulation header included
    /// Throws     InputError with the offset in `payload` when it is no sample of the type; the callbacks
    ///            have then been called for a part of the sample
    cdr::Findings print(DDS_PrintFormat& format, ZUNXMLSaveContext& context,
                        std::span<const std::byte> payload);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zun::printing

#endif
