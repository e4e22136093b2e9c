// options: what this program calls the settings of a conversion.

#ifndef ZUN_CLI_OPTIONS_HPP
#define ZUN_CLI_OPTIONS_HPP

#include <string>

#include "convert/plan/Reason.hpp"

namespace zun::cli {

/// Advice as the option to give: "--max-columns 900".
std::string option_of(const convert::Advice& advice);

}  // namespace zun::cli

#endif
