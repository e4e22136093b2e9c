// RowPrinter: header and rows of a type as the engine prints them, and what was logged meanwhile.

#ifndef ZUN_TESTS_SUPPORT_ROW_PRINTER_HPP
#define ZUN_TESTS_SUPPORT_ROW_PRINTER_HPP

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "format/PrintFormatCsv.hpp"
#include "platform/logger/Logger.hpp"
#include "platform/printing/SamplePrinter.hpp"
#include "tests/support/sample_bytes.hpp"

namespace zun::test {

/// Listens to the process logger while it lives.
class LogCapture {
public:
    LogCapture() {
        chronicle::Logger::instance().listen(
            chronicle::Logger::Level::LOCAL, [this](auto level, const auto& text) {
                messages.push_back((level == chronicle::Logger::Level::WARN ? "warn: " : "") + text);
            });
    }
    ~LogCapture() { chronicle::Logger::instance().listen(chronicle::Logger::Level::NONE, nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> messages;
};

class RowPrinter {
public:
    RowPrinter(const tamber::utils::PrintFormatCsvProperty& property,
               const core::xtypes::DynamicTypeImpl& type)
        : buffer_(UINT16_MAX),
          type_(type),
          converter_(property, type, header_, buffer_),
          printer_(type, "sample") {}

    /// Without its line end.
    std::string header() const { return header_.str().substr(0, header_.str().size() - 1); }

    std::string row(const nlohmann::json& value) {
        const ZUNXMLSaveContext context = print(value, UINT16_MAX, false);
        return {context.text, context.length};
    }

    /// The context behind the row, of which it holds `capacity` characters. `in_runs`: the format takes many
    /// elements at once. Good until the next call.
    ZUNXMLSaveContext print(const nlohmann::json& value, std::uint32_t capacity, bool in_runs) {
        ZUNXMLSaveContext context{.text = buffer_.data(), .capacity = capacity};
        printer_.print(*converter_.native(), context, sample_bytes(type_, value), nullptr, {},
                       in_runs ? &converter_ : nullptr);
        return context;
    }

private:
    std::ostringstream header_;
    std::vector<char> buffer_;
    core::xtypes::DynamicTypeImpl type_;
    tamber::utils::PrintFormatCsv converter_;
    printing::SamplePrinter printer_;
};

}  // namespace zun::test

#endif
