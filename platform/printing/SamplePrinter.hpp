// SamplePrinter: the engine. Walks a sample in its CDR bytes and calls a print format.
//
// In: a type, then samples as recorded. Out: calls of the record's callbacks, and between them the text of
// every value in the context. Nothing is allocated per sample.

#ifndef ZUN_PLATFORM_PRINTING_SAMPLE_PRINTER_HPP
#define ZUN_PLATFORM_PRINTING_SAMPLE_PRINTER_HPP

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/cdr/Findings.hpp"
#include "platform/cdr/Stamp.hpp"
#include "platform/cdr/View.hpp"
#include "platform/cdr/Writer.hpp"
#include "platform/printing/DDS_PrintFormat.hpp"
#include "platform/printing/ElementRuns.hpp"
#include "platform/printing/ValueText.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::printing {

/// Makes the text of values that mean more than their samples tell.
class ValueWriter {
public:
    virtual ~ValueWriter() = default;
    /// The name of the file that holds `bytes`, the value of the field of that number in the view.
    virtual void append_file(ZUNXMLSaveContext& context, std::uint32_t field,
                             std::span<const std::byte> bytes) = 0;
    /// `shape`  of the view: STAMP or DURATION
    virtual void append_stamp(ZUNXMLSaveContext& context, cdr::View::Shape shape, cdr::Stamp stamp) = 0;
};

/// Where the elements of a sequence are printed that have rows of their own: each as a sample of a structure
/// that has the element as its only member, under the name that the view gives its columns.
struct RowsText {
    DDS_PrintFormat* format = nullptr;
    ZUNXMLSaveContext* context = nullptr;
    ElementRuns* runs = nullptr;             ///< the format's, where it has them
    std::vector<std::uint32_t> inner = {};   ///< places of the sequences whose elements are in these elements
    std::vector<std::uint32_t> ends = {};    ///< length of the context behind each element
    std::vector<std::uint32_t> firsts = {};  ///< by element of the sequence around: its first element here
};

class SamplePrinter {
public:
    /// Compiles the walk of `type`, which is a structure or a union, or an alias of one.
    ///
    /// `source`    names the samples in errors: the topic
    /// `view`      what of the type is announced and printed; null for all of it as it is
    /// Throws      std::invalid_argument for any other type, or for one that no reader can decode
    SamplePrinter(const core::xtypes::DynamicTypeImpl& type, std::string source,
                  cdr::Writer writer = cdr::Writer::UNKNOWN, TextStyle style = {},
                  std::shared_ptr<const cdr::View> view = nullptr);
    ~SamplePrinter();
    SamplePrinter(const SamplePrinter&) = delete;
    SamplePrinter& operator=(const SamplePrinter&) = delete;

    /// Prints one sample: its callbacks through `format`, its text into `context`.
    ///
    /// `payload`  the sample as recorded, encapsulation header included
    /// `values`   needed where the view shows files, stamps or durations
    /// `runs`     the format's, where it has them; the text is the same with them
    /// `rows`     by place in the view's rows; where its elements are printed, behind what is there
    /// Throws     InputError with the offset in `payload` when it is no sample of the type; the callbacks
    ///            have then been called for a part of the sample
    cdr::Findings print(DDS_PrintFormat& format, ZUNXMLSaveContext& context,
                        std::span<const std::byte> payload, ValueWriter* values = nullptr,
                        std::span<RowsText> rows = {}, ElementRuns* runs = nullptr);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zun::printing

#endif
