// ZUNXMLSaveContext: the text of one sample while it is printed.

#ifndef ZUN_PLATFORM_PRINTING_ZUNXML_SAVE_CONTEXT_HPP
#define ZUN_PLATFORM_PRINTING_ZUNXML_SAVE_CONTEXT_HPP

#include <cstdint>
#include <cstring>

/// Text that grows at its end. Past `capacity` it is counted and not written, so that whoever owns the
/// storage can enlarge it and print the sample again; positions in the text stay good during one print.
struct ZUNXMLSaveContext {
    char* text = nullptr;        ///< not owned; null, with a capacity of 0, counts only
    std::uint32_t length = 0;    ///< characters appended so far, perhaps more than `capacity`
    std::int32_t failed = 0;     ///< 1 once a length or an index did not fit
    std::uint32_t capacity = 0;  ///< characters that `text` has room for
};

/// Whether there is room for `size` more characters, from text + length on.
inline bool ZUNXMLSaveContext_fits(const ZUNXMLSaveContext* context, std::size_t size) {
    return std::uint64_t{context->length} + size <= context->capacity;
}

/// Counts `size` characters that are not written; marks the context failed when 32 bits cannot hold the
/// length.
inline void ZUNXMLSaveContext_count(ZUNXMLSaveContext* context, std::size_t size) {
    if (size <= UINT32_MAX - context->length)
        context->length += static_cast<std::uint32_t>(size);
    else
        context->failed = 1;
}

inline void ZUNXMLSaveContext_append(ZUNXMLSaveContext* context, const char* text, std::size_t size) {
    if (size == 0) return;  // the text may be null
    if (!ZUNXMLSaveContext_fits(context, size)) return ZUNXMLSaveContext_count(context, size);
    std::memcpy(context->text + context->length, text, size);
    context->length += static_cast<std::uint32_t>(size);
}

/// Appends zero-terminated `text`. Inline so that the length of a literal costs nothing.
inline void ZUNXMLSaveContext_appendString(ZUNXMLSaveContext* context, const char* text) {
    ZUNXMLSaveContext_append(context, text, std::strlen(text));
}

#endif
