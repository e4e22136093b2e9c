// ZUNXMLSaveContext: the text of one sample while it is printed.

#ifndef ZUN_PLATFORM_PRINTING_ZUNXML_SAVE_CONTEXT_HPP
#define ZUN_PLATFORM_PRINTING_ZUNXML_SAVE_CONTEXT_HPP

#include <cstdint>
#include <cstring>

/// Text that grows at its end. Past `capacity` it is counted and not written, so that whoever owns the
/// storage can enlarge it and print the sample again; positions in the text stay good during one print.
struct ZUNXMLSaveContext {
    char* text = nullptr;        ///< not owned; null counts only
    std::uint32_t length = 0;    ///< characters appended so far, perhaps more than `capacity`
    std::int32_t failed = 0;     ///< 1 once a length or an index did not fit
    std::uint32_t capacity = 0;  ///< characters that `text` has room for
};

/// Where the next `size` characters go; null when they do not fit or are only counted.
inline char* ZUNXMLSaveContext_room(ZUNXMLSaveContext* context, std::size_t size) {
    const bool fits = context->text != nullptr && context->length <= context->capacity &&
                      size <= context->capacity - context->length;
    return fits ? context->text + context->length : nullptr;
}

/// Counts `size` characters; marks the context failed when 32 bits cannot hold the length.
inline void ZUNXMLSaveContext_advance(ZUNXMLSaveContext* context, std::size_t size) {
    if (size <= UINT32_MAX - context->length)
        context->length += static_cast<std::uint32_t>(size);
    else
        context->failed = 1;
}

inline void ZUNXMLSaveContext_append(ZUNXMLSaveContext* context, const char* text, std::size_t size) {
    if (char* const room = ZUNXMLSaveContext_room(context, size)) std::memcpy(room, text, size);
    ZUNXMLSaveContext_advance(context, size);
}

/// Appends zero-terminated `text`. Inline so that the length of a literal costs nothing.
inline void ZUNXMLSaveContext_appendString(ZUNXMLSaveContext* context, const char* text) {
    ZUNXMLSaveContext_append(context, text, std::strlen(text));
}

#endif
