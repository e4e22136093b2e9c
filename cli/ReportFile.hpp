// ReportFile: the file of --report, which is opened before the work and written after it.

#ifndef ZUN_CLI_REPORT_FILE_HPP
#define ZUN_CLI_REPORT_FILE_HPP

#include <string>
#include <vector>

#include "convert/Settings.hpp"
#include "convert/report/Report.hpp"

namespace zun::cli {

class ReportFile {
public:
    /// `path`        of a file, a pipe or a device; empty for no report
    /// `recordings`  those of the conversion, which the report must not replace, nor their CSV files
    /// Throws        std::runtime_error when it would; std::system_error when `path` cannot be written
    ReportFile(std::string path, const std::vector<convert::Recording>& recordings);
    ~ReportFile();
    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;

    /// Replaces what the file holds. Throws std::system_error.
    void write(const convert::Report& report);

private:
    std::string path_;
    int descriptor_ = -1;
};

}  // namespace zun::cli

#endif
