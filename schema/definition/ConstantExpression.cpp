#include "schema/definition/ConstantExpression.hpp"

#include <optional>
#include <utility>

namespace zun::schema {

namespace {

using Operation = Step::Operation;

std::optional<Integer> as_integer(const Constant& value) {
    if (const bool* truth = std::get_if<bool>(&value)) return *truth ? 1 : 0;
    if (const Integer* integer = std::get_if<Integer>(&value)) return *integer;
    return std::nullopt;
}

std::optional<double> as_double(const Constant& value) {
    if (const double* number = std::get_if<double>(&value)) return *number;
    if (const auto integer = as_integer(value)) return static_cast<double>(*integer);
    return std::nullopt;
}

bool fits(Integer value) {
    return value >= INT64_MIN && value <= static_cast<Integer>(UINT64_MAX);
}

/// Nothing where the result does not fit 64 bits, or does not exist. The operands fit 64 bits.
std::optional<Integer> combined(Operation operation, Integer a, Integer b) {
    Integer result = 0;
    switch (operation) {
        case Operation::OR:
            return a | b;
        case Operation::XOR:
            return a ^ b;
        case Operation::AND:
            return a & b;
        case Operation::SHIFT_LEFT:
            if (b < 0 || b > 63 || __builtin_mul_overflow(a, Integer(1) << b, &result)) return std::nullopt;
            return result;
        case Operation::SHIFT_RIGHT:
            if (b < 0 || b > 63) return std::nullopt;
            return a >> b;
        case Operation::ADD:
            return a + b;
        case Operation::SUBTRACT:
            return a - b;
        case Operation::MULTIPLY:
            if (__builtin_mul_overflow(a, b, &result)) return std::nullopt;
            return result;
        case Operation::DIVIDE:
            if (b == 0) return std::nullopt;
            return a / b;
        case Operation::MODULO:
            if (b == 0) return std::nullopt;
            return a % b;
        default:
            return std::nullopt;
    }
}

std::optional<double> combined(Operation operation, double a, double b) {
    switch (operation) {
        case Operation::ADD:
            return a + b;
        case Operation::SUBTRACT:
            return a - b;
        case Operation::MULTIPLY:
            return a * b;
        case Operation::DIVIDE:
            return b == 0 ? std::nullopt : std::optional(a / b);
        default:
            return std::nullopt;
    }
}

std::optional<Constant> applied(Operation operation, const Constant& a, const Constant& b) {
    const auto left = as_integer(a), right = as_integer(b);
    if (left && right) {
        const auto result = combined(operation, *left, *right);
        return result && fits(*result) ? std::optional<Constant>(*result) : std::nullopt;
    }
    const auto left_number = as_double(a), right_number = as_double(b);
    if (!left_number || !right_number) return std::nullopt;
    const auto result = combined(operation, *left_number, *right_number);
    return result ? std::optional<Constant>(*result) : std::nullopt;
}

/// -x is 0 - x, and ~x is -1 - x.
std::optional<Constant> applied(Operation operation, const Constant& operand) {
    if (operation == Operation::COMPLEMENT && !as_integer(operand)) return std::nullopt;
    const Integer from = operation == Operation::NEGATE ? 0 : -1;
    return applied(Operation::SUBTRACT, Constant(from), operand);
}

Constant popped(std::vector<Constant>& stack) {
    Constant top = std::move(stack.back());
    stack.pop_back();
    return top;
}

}  // namespace

Constant evaluate(const ConstantExpression& expression, const std::string& source,
                  const std::function<Constant(const Step&)>& value_of) {
    std::vector<Constant> stack;
    for (const Step& step : expression.steps) {
        if (step.operation == Operation::VALUE) {
            stack.push_back(step.value);
        } else if (step.operation == Operation::NAME) {
            stack.push_back(value_of(step));
        } else {
            const bool unary = step.operation == Operation::NEGATE || step.operation == Operation::COMPLEMENT;
            const Constant last = popped(stack);
            auto result =
                unary ? applied(step.operation, last) : applied(step.operation, popped(stack), last);
            if (!result) throw error_at(source, step.position, "the expression has no 64-bit value");
            stack.push_back(std::move(*result));
        }
    }
    return popped(stack);
}

}  // namespace zun::schema
