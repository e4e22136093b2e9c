#include "convert/plan/Reason.hpp"

#include <array>

namespace zun::convert {

std::string setting_and_value(const Advice& advice) {
    static constexpr std::array names = {
        "topics",     "types",        "limit",     "limits", "most_columns", "keep_blobs", "skip_blobs",
        "blob_files", "invalid_text", "overwrite", "clock",  "explode",      "fields",     "exclude_fields"};
    const std::string name = names.at(static_cast<std::size_t>(advice.setting));
    return advice.value.empty() ? name : name + " '" + advice.value + '\'';
}

Sentence& Sentence::operator+=(const Sentence& more) {
    for (const auto& [place, advice] : more.advice_)
        advice_.emplace_back(words_.size() + place, advice);
    words_ += more.words_;
    return *this;
}

std::string Sentence::spelled(const Spelling& spelling) const {
    std::string text;
    std::size_t done = 0;
    for (const auto& [place, advice] : advice_) {
        text += words_.substr(done, place - done) + spelling(advice);
        done = place;
    }
    return text + words_.substr(done);
}

}  // namespace zun::convert
