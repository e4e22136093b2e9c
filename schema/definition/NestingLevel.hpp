// NestingLevel: keeps text that nests without end from running the stack out.

#ifndef ZUN_SCHEMA_DEFINITION_NESTING_LEVEL_HPP
#define ZUN_SCHEMA_DEFINITION_NESTING_LEVEL_HPP

namespace zun::schema {

/// One level of a recursion: counted for as long as the object lives, exceptions included.
///
///     const NestingLevel level(depth_);
///     if (level.is_too_deep()) throw ...
class NestingLevel {
public:
    /// Levels that may lie within each other. Definitions that people write have about ten.
    static constexpr unsigned deepest = 100;

    /// `depth`  the levels around this one; counts this one too, and must outlive it
    explicit NestingLevel(unsigned& depth) : depth_(depth) { ++depth_; }
    ~NestingLevel() { --depth_; }
    NestingLevel(const NestingLevel&) = delete;
    NestingLevel& operator=(const NestingLevel&) = delete;

    bool is_too_deep() const { return depth_ > deepest; }

private:
    unsigned& depth_;
};

}  // namespace zun::schema

#endif
