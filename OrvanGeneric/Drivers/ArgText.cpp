#include "OrvanGeneric/Drivers/ArgText.h"

#include <charconv>

#include <rapidjson/document.h>

namespace Drivers {

std::string argText( const rapidjson::Value &value ) {
    if ( value.IsInt() ) {
        return std::to_string( value.GetInt() );
    }
    if ( value.IsUint() ) {
        return std::to_string( value.GetUint() );
    }
    if ( value.IsString() ) {
        return std::string( value.GetString(), value.GetStringLength() );
    }
    if ( value.IsDouble() ) {
        char text[ 32 ];
        constexpr int significantDigits = 6;
        const auto end = std::to_chars( text, text + sizeof( text ), value.GetDouble(),
                                        std::chars_format::general, significantDigits );
        return std::string( text, end.ptr );
    }
    if ( value.IsFalse() ) {
        return "false";
    }
    if ( value.IsTrue() ) {
        return "true";
    }
    return std::string();
}

} // namespace Drivers
