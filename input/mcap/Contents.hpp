// Contents: what a recording holds, as found when it is opened; only read afterwards, by any thread.

#ifndef ZUN_INPUT_MCAP_CONTENTS_HPP
#define ZUN_INPUT_MCAP_CONTENTS_HPP

#include <optional>
#include <vector>

#include "input/mcap/ChannelTable.hpp"
#include "input/mcap/Piece.hpp"

namespace zun::input::mcap {

struct Contents {
    ChannelTable channels;
    std::vector<Piece> pieces = {};  ///< those with messages, in file order
    Summary summary = {};
    std::vector<Problem> problems = {};
};

/// Contents by the summary section alone. None when there is no summary that covers the whole file; `doubt`
/// says why when the recording claims to have one. Throws std::system_error.
std::optional<Contents> read_summary(const File& file, std::optional<Problem>& doubt);

/// Contents by a pass over the whole file, damage included. Throws std::system_error.
Contents scan(const File& file);

}  // namespace zun::input::mcap

#endif
