#include "cli/ReportFile.hpp"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "cli/options.hpp"
#include "convert/output/Output.hpp"
#include "input/recording/open_recording.hpp"
#include "platform/error/TextStream.hpp"

namespace zun::cli {

namespace fs = std::filesystem;

namespace {

/// Whether `path` lies in the folder `outer` or in one of its subfolders.
bool is_inside(const fs::path& path, const fs::path& outer) {
    const fs::path relative = path.lexically_relative(outer);
    return !relative.empty() && *relative.begin() != ".." && relative != ".";
}

void refuse_to_replace(const fs::path& path, const std::vector<convert::Recording>& recordings) {
    if (fs::exists(path) && !fs::is_regular_file(path)) return;  // a pipe, a device
    const fs::path file = fs::weakly_canonical(path);
    bool is_input = input::is_recording(file);
    for (const convert::Recording& recording : recordings) {
        is_input = is_input || is_inside(file, fs::weakly_canonical(recording.name));
        const bool beside_outputs = file.parent_path() == fs::weakly_canonical(recording.folder);
        const bool named_as_output =
            file.extension() == ".csv" || file.filename().string().ends_with(".schema.json");
        if (beside_outputs && named_as_output)
            throw std::runtime_error("--report '" + path.string() +
                                     "' may be a file of the conversion: choose another name or folder");
    }
    if (is_input)
        throw std::runtime_error("--report '" + path.string() +
                                 "' would replace a recording or a part of one");
}

}  // namespace

ReportFile::ReportFile(std::string path, const std::vector<convert::Recording>& recordings)
    : path_(std::move(path)) {
    if (path_.empty()) return;
    refuse_to_replace(path_, recordings);
    descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor_ < 0)
        throw std::system_error(errno, std::generic_category(), "cannot write '" + path_ + "'");
}

ReportFile::~ReportFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

void ReportFile::write(const convert::Report& report) {
    if (path_.empty()) return;
    TextStream text;
    convert::print_report_json(text, report, option_of);
    if (::ftruncate(descriptor_, 0) != 0 && errno != EINVAL)  // pipes and devices have no length
        throw std::system_error(errno, std::generic_category(), "cannot write '" + path_ + "'");
    convert::OutputStream(descriptor_, path_).write(0, text.str());
}

}  // namespace zun::cli
