#include "convert/plan/Columns.hpp"

#include <stdexcept>
#include <string>

namespace zun::convert {

void Columns::check(const tamber::utils::PrintFormatCsv& format) const {
    const std::uint32_t made = format.root_column().leaf_count();
    if (made != count)
        throw std::logic_error("the header of type '" + types.row.name() + "' has " + std::to_string(made) +
                               " columns, " + std::to_string(count) + " were planned");
}

}  // namespace zun::convert
