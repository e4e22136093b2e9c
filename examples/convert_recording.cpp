// convert_recording: a recording in, CSV files out, the report as values.
//
// usage: convert_recording RECORDING FOLDER

#include <iostream>

#include "convert/Conversion.hpp"
#include "input/recording/open_recording.hpp"

int main(int argc, char** argv) {
    using namespace zun;
    if (argc != 3) return 2;
    const auto open = [path = argv[1]] { return input::open_recording(path); };
    convert::Settings settings;
    settings.overwrite = true;

    convert::Conversion conversion(settings, {{argv[1], argv[2], open}}, {});
    convert::Report report;
    conversion.run(report);

    for (const convert::TopicReport& topic : report.recordings.front().topics)
        std::cout << topic.file << ": " << topic.rows << " rows, " << topic.columns << " columns\n";
    return report.lost_anything() ? 1 : 0;
}
