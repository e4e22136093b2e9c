// Topic: the channels whose messages make one file.
//
// In: a recording's channels. Out: one entry for each topic and type on it, with what its file is made of, or
// with the reason why it has none.

#ifndef ZUN_CONVERT_PLAN_TOPIC_HPP
#define ZUN_CONVERT_PLAN_TOPIC_HPP

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "convert/plan/Limits.hpp"
#include "convert/plan/Reason.hpp"
#include "convert/plan/explode.hpp"
#include "convert/plan/fields.hpp"
#include "convert/plan/view.hpp"
#include "input/MessageStream.hpp"
#include "platform/cdr/View.hpp"
#include "platform/cdr/Writer.hpp"
#include "platform/xtypes/DynamicType.hpp"
#include "platform/xtypes/TypeIdentities.hpp"
#include "schema/TypeCatalog.hpp"

namespace zun::convert {

/// Which topics are wanted, by wildcards on their names.
struct TopicFilter {
    std::vector<std::string> wanted = {};  ///< all when empty
    std::vector<std::string> unwanted = {};

    bool accepts(const std::string& topic) const;
};

/// The wildcard expression that matches `topic` alone.
std::string exact_pattern(const std::string& topic);

/// Where the values of a field go that is shown as files.
struct BlobFolder {
    std::size_t number;  ///< among those of the recording
    std::string name;    ///< "camera.data"
};

/// What the file of a topic is made of.
struct Accepted {
    core::xtypes::DynamicTypeImpl type;
    std::string file = {};                                ///< "a.b.csv"
    std::set<std::string> built_in = {};                  ///< types that only the tool itself defines
    std::vector<Reason> hints = {};                       ///< what was assumed about the type
    std::map<std::size_t, ExplodeOutcome> exploded = {};  ///< by index of the rules for the topic
    std::set<std::string> unwanted = {};                  ///< fields that the user does not want
    ViewRequest request = {};
    std::map<std::string, std::uint32_t> blob_lengths = {};  ///< of fields whose length stands for them
    std::shared_ptr<const cdr::View> clock = {};  ///< shows the row's time alone; null where no field has it
    std::shared_ptr<const cdr::View> view = {};   ///< what has columns, and how; null for all as it is
    std::vector<BlobFolder> blob_folders = {};    ///< of the view's files, in their order
    bool other_type = false;                      ///< an earlier entry has this topic with another type

    /// What has columns.
    Part root() const { return Part(type, view.get()); }
    Limits plain_limits() const { return Limits(type, view); }
};

/// A topic that gets no file.
struct Refused {
    Reason why;
    bool unwanted = false;  ///< nothing of it is asked for, so nothing is lost
};

struct Topic {
    std::string name;
    std::string type_name;
    std::string identity = {};  ///< equal for the same topic with the same type, in all recordings
    std::vector<std::uint32_t> channels = {};
    std::uint64_t message_count = 0;  ///< as the recording's summary has it
    cdr::Writer writer = cdr::Writer::UNKNOWN;
    FieldOutcomes fields = {};  ///< of the expressions for it
    std::variant<Refused, Accepted> plan = {};

    const Accepted* accepted() const { return std::get_if<Accepted>(&plan); }  ///< null for a refused topic
    Accepted* accepted() { return std::get_if<Accepted>(&plan); }
    const Reason* refusal() const { return accepted() != nullptr ? nullptr : &std::get<Refused>(plan).why; }
};

/// Names the folders for the blobs of all topics, which tell them apart; returns the names by number.
std::vector<std::string> name_blob_folders(std::vector<Topic>& topics);

/// What became of choices of fields, over topics.
struct ChoiceOutcomes {
    bool any_accepted = false;
    bool any_unwanted = false;
    bool any_clock = false;                               ///< a topic has the field that is the clock
    std::map<std::size_t, ExplodeOutcome> exploded = {};  ///< by rule
    FieldOutcomes fields = {};

    void add(const Topic& topic);
    void add(const ChoiceOutcomes& more);
};

/// Why a topic of so many columns is refused, and what would help.
Refused too_wide(const Limits::Blame& blame, std::uint64_t columns, std::uint64_t most);

/// Where types come from, and how they are told apart.
struct Types {
    schema::TypeCatalog catalog = {};
    core::xtypes::TypeIdentities identities = {};
    std::map<std::string, std::size_t> refused_texts = {};  ///< schema texts that gave no type, numbered
};

/// Which topics get files, and of what.
struct TopicChoice {
    TopicFilter filter = {};
    ViewRequest view = {};  ///< for every topic
    FieldChoice fields = {};
    std::vector<FieldRule> explode = {};
    std::string clock_field = {};
    std::uint64_t most_columns = 16'384;
    cdr::Writer writer = cdr::Writer::UNKNOWN;  ///< of messages of types that are not ROS 2's
};

/// The topics of `stream` that `choice` accepts, in the order of their first channels. One that cannot fit,
/// whatever its messages hold, is refused here; no more is done with its type than counting. Reads messages
/// where only they can tell which layout of its type a topic has.
std::vector<Topic> topics_of(input::MessageStream& stream, Types& types, const TopicChoice& choice);

}  // namespace zun::convert

#endif
