#include "orvan/commands/Readings.h"

#include <cmath>

#include "orvan/text/Status.h"

namespace orvan {

void writeKey( JsonWriter &writer, const char *key, const std::string &text ) {
    writer.Key( key );
    writer.String( text.data(), static_cast<rapidjson::SizeType>( text.size() ) );
}

void writeJson( JsonWriter &writer, const Reading &reading, const Value &value ) {
    writer.StartObject();
    writeKey( writer, "status", statusName( value.status ) );
    if ( !value.exception.empty() ) {
        writeKey( writer, "error", value.exception );
    }
    if ( value.status == PL_STATUS_OK ) {
        if ( const auto *number = std::get_if<long long>( &value.data ) ) {
            writer.Key( "value" );
            writer.Int64( *number );
        } else if ( const auto *fraction = std::get_if<double>( &value.data ) ) {
            writer.Key( "value" );
            if ( std::isfinite( *fraction ) ) {
                writer.Double( *fraction );
            } else { // NaN and infinities have no JSON, and the writer must not be tried with them
                writer.Null();
            }
        } else if ( const auto *text = std::get_if<std::string>( &value.data ) ) {
            writeKey( writer, "value", *text );
        } else {
            writer.Key( "value" );
            writer.Null();
        }
    }
    if ( *reading.unit ) {
        writeKey( writer, "unit", reading.unit );
    }
    writer.EndObject();
}

} // namespace orvan
