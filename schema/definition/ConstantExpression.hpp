// ConstantExpression: a number, text or truth value that a definition computes.
//
// The steps stand in postfix order, so that the longest chain of operators needs no recursion:
//
//     (N + 1) << 2      N  1  +  2  <<

#ifndef ZUN_SCHEMA_DEFINITION_CONSTANT_EXPRESSION_HPP
#define ZUN_SCHEMA_DEFINITION_CONSTANT_EXPRESSION_HPP

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "schema/definition/Position.hpp"

namespace zun::schema {

/// Wide enough for the values of int64 and of uint64.
__extension__ typedef __int128 Integer;

/// Characters are integers.
using Constant = std::variant<bool, Integer, double, std::string>;

struct Step {
    enum class Operation : std::uint8_t {
        VALUE,
        NAME,
        OR,
        XOR,
        AND,
        SHIFT_LEFT,
        SHIFT_RIGHT,
        ADD,
        SUBTRACT,
        MULTIPLY,
        DIVIDE,
        MODULO,
        NEGATE,
        COMPLEMENT,
    };
    Operation operation;
    Constant value = {};
    std::string name = {};
    Position position = {};
};

struct ConstantExpression {
    std::vector<Step> steps = {};

    static ConstantExpression of(Constant value, Position position) {
        return {{{Step::Operation::VALUE, std::move(value), {}, position}}};
    }
    const Position& position() const { return steps.front().position; }
};

/// The value of `expression`, which has at least one step.
///
/// `value_of`  gives the constant that a NAME step stands for
/// Throws      InputError with the operator's position when the operands do not fit it, or when the
///             result is no 64-bit number
Constant evaluate(const ConstantExpression& expression, const std::string& source,
                  const std::function<Constant(const Step&)>& value_of);

}  // namespace zun::schema

#endif
