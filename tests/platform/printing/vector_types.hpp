// vector_types: the types of tests/data/cdr/cdr_vectors.idl.

#ifndef ZUN_TESTS_PLATFORM_PRINTING_VECTOR_TYPES_HPP
#define ZUN_TESTS_PLATFORM_PRINTING_VECTOR_TYPES_HPP

#include <map>
#include <string>

#include "platform/xtypes/DynamicType.hpp"

namespace zun::test {

/// By name without module: "Prim".
std::map<std::string, core::xtypes::DynamicTypeImpl> vector_types();

}  // namespace zun::test

#endif
