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
        : buffer_(1 << 16),
          type_(type),
          converter_(property, type, header_, buffer_),
          printer_(type, "sample") {}

    /// Without its line end.
    std::string header() const { return header_.str().substr(0, header_.str().size() - 1); }

    std::string row(const nlohmann::json& value) {
        ZUNXMLSaveContext context{.text = buffer_.data(),
                                  .capacity = static_cast<std::uint32_t>(buffer_.size())};
        printer_.print(*converter_.native(), context, sample_bytes(type_, value));
        return {context.text, context.length};
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
