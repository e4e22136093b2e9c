// json_format: a print format whose text shows every call of the engine, "{a: 1, b: [2, 3], c: null}".

#ifndef ZUN_TESTS_PLATFORM_PRINTING_JSON_FORMAT_HPP
#define ZUN_TESTS_PLATFORM_PRINTING_JSON_FORMAT_HPP

#include <string>
#include <string_view>
#include <vector>

#include "platform/printing/SamplePrinter.hpp"

namespace zun::test {

DDS_PrintFormat json_format();

struct Printed {
    std::string text;
    cdr::Findings findings;
};
Printed print_json(printing::SamplePrinter& printer, const std::vector<std::byte>& payload,
                   bool enum_as_string = true);

/// The bytes that `hex` stands for; spaces between them are skipped.
std::vector<std::byte> bytes_of(std::string_view hex);

}  // namespace zun::test

#endif
