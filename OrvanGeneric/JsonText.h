#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <sys/types.h>

#include <rapidjson/document.h>

/** Reading JSON texts from outside without a way to exhaust the stack or to crash for want of memory. */
namespace Json {

/** How deep objects and arrays may lie in each other; a deeper text counts as no JSON. */
constexpr unsigned maxDepth = 512;

/** Memory for the parser's stack and for texts written; RapidJSON's own does not look at failures. */
class CheckedAllocator {
  public:
    // NOLINTBEGIN(readability-identifier-naming): RapidJSON asks for these names
    static const bool kNeedFree = true; ///< RapidJSON: what was taken is to be given back

    /** @p size bytes, null for none. @throws std::bad_alloc */
    void *Malloc( size_t size ) { return size ? ::operator new( size ) : nullptr; }
    /** Moves @p original into @p newSize bytes. @throws std::bad_alloc, the original being kept */
    void *Realloc( void *original, size_t originalSize, size_t newSize );
    /** Gives memory back. */
    static void Free( void *memory ) { ::operator delete( memory ); }
    // NOLINTEND(readability-identifier-naming)
};

/** A JSON text as a document. */
class ParsedText {
  public:
    /**
     * Parses the whole of @p text (UTF-8, NUL-terminated) with the default, strict rules.
     * @param toBeAdded  bytes of the names and values that will be added to the document
     * @throws std::bad_alloc
     */
    explicit ParsedText( const char *text, size_t toBeAdded = 0 );
    ParsedText( const ParsedText & ) = delete;
    ParsedText &operator=( const ParsedText & ) = delete;

    /** Whether the text was JSON. */
    bool valid() const { return !result_.IsError(); }
    /** What is wrong with a text that was not, in the parser's English words. */
    const char *problem() const;
    /** Where in such a text, in bytes from its beginning. */
    ssize_t offset() const { return static_cast<ssize_t>( result_.Offset() ); }
    /** The document, owned by this object; null when the text is not valid. */
    rapidjson::Document &document() { return document_; }

  private:
    struct Free {
        void operator()( char *memory ) const { CheckedAllocator::Free( memory ); }
    };

    std::unique_ptr<char, Free> buffer_; ///< all that the pool ever needs, so that it cannot fail
    rapidjson::MemoryPoolAllocator<> pool_;
    rapidjson::Document document_;
    rapidjson::ParseResult result_;
};

} // namespace Json
