// insertDriverArg on any text, name and value: what it accepts must come out as pure ASCII JSON that
// ends its arguments with the new one. The input is the three texts, with a NUL between them.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include <rapidjson/document.h>

#include "OrvanGeneric/Drivers/Drivers.h"
#include "fuzz/Require.h"

namespace {

/** The next text of the input; the input goes on after it. */
std::string next( const char *&begin, const char *end ) {
    const char *const start = begin;
    while ( begin != end && *begin ) {
        ++begin;
    }
    std::string text( start, begin );
    if ( begin != end ) {
        ++begin;
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const uint8_t *data, size_t size ) {
    const char *begin = reinterpret_cast<const char *>( data );
    const char *const end = begin + size;
    const std::string text = next( begin, end );
    const std::string name = next( begin, end );
    const std::string value = next( begin, end );

    rapidjson::Document before;
    before.Parse( text.c_str() );
    rapidjson::SizeType count = 0;
    if ( !before.HasParseError() ) {
        // Any other shape aborts on purpose.
        if ( !before.IsObject() || !before.HasMember( "driverArgs" ) ||
             !before[ "driverArgs" ].IsObject() ) {
            return 0;
        }
        count = before[ "driverArgs" ].MemberCount();
    }

    char *out = nullptr;
    if ( !Drivers::insertDriverArg( text.c_str(), &out, name.c_str(), value.c_str() ) ) {
        require( !out, "refused and wrote" );
        return 0;
    }
    const std::unique_ptr<char, decltype( &std::free )> owner( out, std::free );
    require( !before.HasParseError(), "accepted what is not JSON" );
    for ( const char *c = out; *c; ++c ) {
        require( static_cast<unsigned char>( *c ) < 0x80, "not ASCII" );
    }
    rapidjson::Document after;
    after.Parse( out );
    require( !after.HasParseError(), "not JSON" );
    const auto &args = after[ "driverArgs" ];
    require( args.MemberCount() == count + 1, "lost an argument" );
    const auto &last = *( args.MemberEnd() - 1 );
    require( last.name == name && last.value == value, "another argument" );
    return 0;
}
