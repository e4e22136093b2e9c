#include "convert/passes/RowPass.hpp"

#include <algorithm>

#include "convert/passes/LengthPass.hpp"
#include "platform/error/InputError.hpp"

namespace zun::convert {

namespace {

constexpr std::size_t reasons_kept = 3;
constexpr std::size_t problems_kept = 20;
constexpr std::size_t most_waiting_bytes = std::size_t{8} << 20;  // rows of one batch

}  // namespace

TopicRows::TopicRows(const Topic& topic, const Settings& settings, const TimeStyle& times,
                     const Limits& limits, const Lengths* lengths, Output& output)
    : topic_(topic), settings_(settings), times_(times), output_(output), columns_(limits) {
    columns_.settings.empty_member_value_representation(settings.empty_text)
        .enum_as_string(settings.enum_as_string)
        .include_source_timestamp(settings.clock == Clock::BOTH);
    columns_.plain_lengths = settings.plain_lengths;
    if (!may_be_cut(limits, lengths)) return;
    cut_slots_.emplace(limits);
}

std::vector<CutField> TopicRows::cuts() const {
    return cut_slots_ ? cut_slots_->fields() : std::vector<CutField>();
}

std::string TopicRows::header() {
    auto converter = take_converter();
    std::string header = converter->header();
    converters_.give(std::move(converter));
    return header;
}

std::unique_ptr<RowWriter> TopicRows::take_converter() {
    return converters_.take([&] { return std::make_unique<RowWriter>(topic_, columns_, settings_, times_); });
}

std::unique_ptr<cdr::LengthMeter> TopicRows::take_meter() {
    return meters_.take([&] { return make_meter(topic_); });
}

/// The rows that one batch adds to a topic.
class TopicRows::Rows {
public:
    explicit Rows(TopicRows& work) : work_(work), converter_(work.take_converter()) {
        if (!work.cut_slots_) return;
        meter_ = work.take_meter();
        cuts_.emplace(*work.cut_slots_);
    }

    void add(const input::Message& message, std::uint64_t number) {
        try {
            count(converter_->append_rows(message, number));
        } catch (const InputError& problem) {
            if (work_.settings_.strict) throw;
            refuse(message, problem);
            return;
        }
        for (const CellValues::Blob& blob : converter_->blobs())
            work_.output_.write_blob(blob.folder, blob.name, blob.bytes);
        if (cuts_) cuts_->count(*meter_, message.data);
    }

    void release() {
        converter_->clear();
        work_.converters_.give(std::move(converter_));
        if (meter_) work_.meters_.give(std::move(meter_));
    }

    std::string_view text() const { return converter_->rows(); }
    std::span<const std::size_t> row_ends() const { return converter_->row_ends(); }

    /// Whether the last message has more rows than there are; then makes more in their place.
    bool has_more() const { return converter_->has_more(); }
    void make_more() {
        converter_->clear();
        converter_->append_more();
    }

    void add_to(TopicReport& report) const {
        report.unreadable += unreadable_;
        report.left_over += left_over_;
        report.unknown_members += unknown_members_;
        report.absent_members += absent_members_;
        report.invalid_text += invalid_text_;
        for (std::size_t i = 0; i < reasons_.size() && report.reasons.size() < reasons_kept; ++i)
            report.reasons.push_back(reasons_[i]);
        if (cuts_) cuts_->add_to(report.cuts);
    }

private:
    void count(const cdr::Findings& findings) {
        left_over_ += findings.left_over > cdr::Findings::most_padding ? 1 : 0;
        unknown_members_ += findings.unknown_members ? 1 : 0;
        absent_members_ += findings.absent_members ? 1 : 0;
        invalid_text_ += findings.invalid_text ? 1 : 0;
    }

    void refuse(const input::Message& message, const InputError& problem) {
        ++unreadable_;
        // The first few tell what is wrong; a topic of the wrong type would give one for each message.
        if (reasons_.size() >= reasons_kept) return;
        std::string reason = "at ";
        append_time(reason, message.log_time, work_.times_);
        reasons_.push_back(reason + ": " + problem.what());
    }

    TopicRows& work_;
    std::unique_ptr<RowWriter> converter_;
    std::unique_ptr<cdr::LengthMeter> meter_;
    std::uint64_t unreadable_ = 0;
    std::uint64_t left_over_ = 0;
    std::uint64_t unknown_members_ = 0;
    std::uint64_t absent_members_ = 0;
    std::uint64_t invalid_text_ = 0;
    std::vector<std::string> reasons_;
    std::optional<CutCounter> cuts_;  // while something can be cut
};

class RowPass::RowStep : public PassStep {
public:
    RowStep(RowPass& all, Pass& pass, SourceBatch source)
        : PassStep(pass, std::move(source)), all_(all), place_(all.work_.size()) {}

    void work() override { make_rows(); }

    void finish() override {
        // Rows beyond those that may wait are made now, when they can be written at once.
        while (!rows_.empty()) {
            write_rows();
            make_rows();
        }
        for (const input::Problem& problem : batch()->problems())
            all_.tell_(problem);
        pass().advance(batch()->messages().size());
    }

private:
    /// Makes the next rows, until they fill what may wait.
    void make_rows() {
        // Batches end when their steps are finished, in order; a batch of small messages can make far more
        // text than it has bytes, and many batches may be under way.
        std::size_t waiting_bytes = 0;
        for_each_picked([&](std::size_t topic, const input::Message& message, std::uint64_t number) {
            TopicRows::Rows& rows = rows_of(topic);
            const std::size_t before = rows.text().size();
            rows.add(message, number);
            waiting_bytes += rows.text().size() - before;
            return waiting_bytes < most_waiting_bytes && !rows.has_more();
        });
    }

    TopicRows::Rows& rows_of(std::size_t topic) {
        if (place_[topic] == 0) {
            rows_.emplace_back(topic, *all_.work_[topic].rows);
            place_[topic] = rows_.size();
        }
        return rows_[place_[topic] - 1].second;
    }

    void write_rows() {
        for (auto& [topic, rows] : rows_) {
            rows.add_to(all_.report_.topics[topic]);
            all_.write_rows(topic, rows.text(), rows.row_ends());
            while (rows.has_more()) {
                rows.make_more();
                all_.write_rows(topic, rows.text(), rows.row_ends());
            }
            rows.release();
            place_[topic] = 0;
        }
        rows_.clear();
    }

    RowPass& all_;
    std::vector<std::size_t> place_;  // by topic: 1 + place in rows_, 0 for none
    std::deque<std::pair<std::size_t, TopicRows::Rows>> rows_;
};

RowPass::RowPass(const std::vector<Topic>& topics, const Settings& settings, const TimeStyle& times,
                 const std::vector<Limits>& limits, const std::map<std::string, Lengths>& lengths,
                 const CompanionNames& names, Output& output, RecordingReport& report, Tell tell)
    : settings_(settings),
      names_(names),
      output_(output),
      report_(report),
      tell_(std::move(tell)),
      work_(topics.size()) {
    for (std::size_t i = 0; i < topics.size(); ++i) {
        if (topics[i].accepted() == nullptr) continue;
        const auto known = lengths.find(topics[i].identity);
        work_[i].rows.emplace(topics[i], settings, times, limits[i],
                              known == lengths.end() ? nullptr : &known->second, output);
        report.topics[i].cuts = work_[i].rows->cuts();
    }
}

void RowPass::write_headers() {
    for (std::size_t i = 0; i < work_.size(); ++i)
        if (work_[i].rows) write_header(i);
}

std::vector<std::string> RowPass::headers() {
    std::vector<std::string> headers;
    for (Work& work : work_)
        headers.push_back(work.rows ? work.rows->header() : "");
    return headers;
}

void RowPass::write_header(std::size_t topic) {
    if (settings_.byte_order_mark) write(topic, "\xef\xbb\xbf");
    write(topic, work_[topic].rows->header());
}

/// `ends`  where each of the rows in `text` ends
void RowPass::write_rows(std::size_t topic, std::string_view text, std::span<const std::size_t> ends) {
    std::uint64_t& file_rows = work_[topic].file_rows;
    TopicReport& report = report_.topics[topic];
    const bool splits = settings_.most_rows && !settings_.to_stdout;
    std::size_t written = 0;
    while (!ends.empty()) {
        if (splits && file_rows == *settings_.most_rows) begin_file(topic);
        const std::size_t count =
            splits ? std::min<std::uint64_t>(ends.size(), *settings_.most_rows - file_rows) : ends.size();
        write(topic, text.substr(written, ends[count - 1] - written));
        written = ends[count - 1];
        ends = ends.subspan(count);
        file_rows += count;
        report.rows += count;
        report.longest_file_rows = std::max(report.longest_file_rows, file_rows);
    }
}

void RowPass::begin_file(std::size_t topic) {
    Work& work = work_[topic];
    TopicReport& report = report_.topics[topic];
    const std::string name = names_.rows(report.file, ++work.file_number);
    output_.begin_file(topic, name);
    report.further_files.push_back(name);
    work.file_rows = 0;
    write_header(topic);
}

std::unique_ptr<Step> RowPass::step(Pass& pass, SourceBatch batch) {
    return std::make_unique<RowStep>(*this, pass, std::move(batch));
}

void RowPass::write(std::size_t topic, std::string_view text) {
    output_.write(topic, text);
    report_.topics[topic].bytes += text.size();
}

void add_problem(RecordingReport& report, const input::Problem& problem, bool strict) {
    if (problem.hint) {
        if (report.hints.size() < problems_kept) report.hints.push_back({"recording", text_of(problem)});
        return;
    }
    if (strict) throw InputError(problem.source, problem.position, problem.text);
    // All are counted, some are kept: a damaged file can have millions.
    ++report.problem_count;
    report.messages_lost += problem.messages_lost;
    if (report.problems.size() < problems_kept) report.problems.push_back(problem);
}

}  // namespace zun::convert
