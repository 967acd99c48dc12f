#include "OrvanGeneric/JsonText.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

namespace Json {

namespace {

using Encoding = rapidjson::UTF8<>;
/** Its values are those of rapidjson::Document; only its stack's memory is looked after. */
using CheckedDocument =
    rapidjson::GenericDocument<Encoding, rapidjson::MemoryPoolAllocator<>, CheckedAllocator>;

/** Hands on what the parser finds, and stops it where the nesting becomes too deep. */
class DepthLimit {
  public:
    using Ch = Encoding::Ch;
    using SizeType = rapidjson::SizeType;

    explicit DepthLimit( CheckedDocument &sink ) : sink_( sink ) {}

    bool tooDeep() const { return depth_ > maxDepth; }

    // NOLINTBEGIN(readability-identifier-naming): RapidJSON's handlers have these names
    bool Null() { return sink_.Null(); }
    bool Bool( bool value ) { return sink_.Bool( value ); }
    bool Int( int value ) { return sink_.Int( value ); }
    bool Uint( unsigned value ) { return sink_.Uint( value ); }
    bool Int64( int64_t value ) { return sink_.Int64( value ); }
    bool Uint64( uint64_t value ) { return sink_.Uint64( value ); }
    bool Double( double value ) { return sink_.Double( value ); }
    bool RawNumber( const Ch *text, SizeType size, bool copy ) {
        return sink_.RawNumber( text, size, copy );
    }
    bool String( const Ch *text, SizeType size, bool copy ) {
        return sink_.String( text, size, copy );
    }
    bool Key( const Ch *text, SizeType size, bool copy ) { return sink_.Key( text, size, copy ); }
    bool StartObject() { return ++depth_ <= maxDepth && sink_.StartObject(); }
    bool EndObject( SizeType size ) {
        --depth_;
        return sink_.EndObject( size );
    }
    bool StartArray() { return ++depth_ <= maxDepth && sink_.StartArray(); }
    bool EndArray( SizeType size ) {
        --depth_;
        return sink_.EndArray( size );
    }
    // NOLINTEND(readability-identifier-naming)

  private:
    CheckedDocument &sink_;
    unsigned depth_ = 0;
};

/** Parses into the document that calls it. */
class Parse {
  public:
    explicit Parse( const char *text ) : text_( text ) {}

    bool operator()( CheckedDocument &sink ) {
        DepthLimit handler( sink );
        rapidjson::GenericReader<Encoding, Encoding, CheckedAllocator> reader;
        rapidjson::StringStream stream( text_ );
        result_ = reader.Parse( stream, handler );
        // The parser has taken the bracket by then; the error is the bracket.
        if ( handler.tooDeep() ) {
            result_.Set( result_.Code(), result_.Offset() - 1 );
        }
        return !result_.IsError();
    }
    const rapidjson::ParseResult &result() const { return result_; }

  private:
    const char *text_;
    rapidjson::ParseResult result_;
};

/**
 * Most bytes that the values of a text with @p length characters take. The dearest text is a list of
 * digits: a value for every two characters. What is added copies an object's members once more.
 */
size_t poolSize( size_t length, size_t toBeAdded ) {
    constexpr size_t forEachCharacter = sizeof( rapidjson::Value ) / 2 + 1;
    constexpr size_t whenMembersMove = sizeof( rapidjson::Value );
    constexpr size_t overhead = 1024;
    return overhead + forEachCharacter * length +
           ( toBeAdded ? whenMembersMove * ( length + toBeAdded ) : 0 );
}

char *checkedMalloc( size_t size ) {
    return static_cast<char *>( CheckedAllocator().Malloc( size ) );
}

} // namespace

void *CheckedAllocator::Realloc( void *original, size_t originalSize, size_t newSize ) {
    void *moved = Malloc( newSize );
    if ( const size_t kept = std::min( originalSize, newSize ) ) {
        std::memcpy( moved, original, kept );
    }
    Free( original );
    return moved;
}

ParsedText::ParsedText( const char *text, size_t toBeAdded )
    : buffer_( checkedMalloc( poolSize( std::strlen( text ), toBeAdded ) ) ),
      pool_( buffer_.get(), poolSize( std::strlen( text ), toBeAdded ) ), document_( &pool_ ) {
    CheckedDocument parsed( &pool_ );
    Parse parse( text );
    parsed.Populate( parse );
    result_ = parse.result();
    if ( valid() ) {
        static_cast<rapidjson::Value &>( document_ ) =
            std::move( static_cast<rapidjson::Value &>( parsed ) );
    }
}

const char *ParsedText::problem() const {
    return rapidjson::GetParseError_En( result_.Code() );
}

} // namespace Json
