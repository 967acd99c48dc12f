#include "OrvanGeneric/Drivers/Drivers.h"

#include <cassert>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "OrvanGeneric/Drivers/ArgText.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/JsonText.h"
#include "OrvanGeneric/Topology.h"

namespace Drivers {

bool DriverArgs::parseJSON( const char *text ) {
    Json::ParsedText json( text );
    if ( !json.valid() ) {
        TRACE( 0, "failed to load device from json: %s offset %zd", json.problem(), json.offset() );
        return false;
    }
    jsonText = text;
    parseJSON( static_cast<const rapidjson::Value &>( json.document() ) );
    return true;
}

void DriverArgs::parseJSON( const rapidjson::Value &json ) {
    assert( json.IsObject() );
    assert( json.HasMember( "did" ) );
    assert( json.HasMember( "driver" ) );
    driver = json[ "driver" ].GetString();
    const auto multi = json.FindMember( "isMultiDevice" );
    isMultiDevice = multi != json.MemberEnd() && multi->value.GetBool();
    if ( isMultiDevice ) {
        assert( json.HasMember( "multiDeviceArgs" ) );
        for ( const auto &member : json[ "multiDeviceArgs" ].GetObject() ) {
            multiDeviceArgs[ member.name.GetString() ] = member.value.GetString();
        }
    }
    assert( json.HasMember( "address" ) );
    Topology::fillAddressFromJSON( json[ "address" ], address );
    const auto wantsHam = json.FindMember( "provideHam" );
    provideHam = wantsHam == json.MemberEnd() || wantsHam->value.GetUint() != 0;
    const auto component = json.FindMember( "uid" );
    uid = component == json.MemberEnd() ? noComponent : component->value.GetUint();
    did = json[ "did" ].GetUint();
    const auto arguments = json.FindMember( "driverArgs" );
    if ( arguments != json.MemberEnd() ) {
        for ( const auto &member : arguments->value.GetObject() ) {
            driverArgs[ member.name.GetString() ] = argText( member.value );
        }
    }
}

std::shared_ptr<DriverArgs> DriverArgs::fromJSON( const rapidjson::Value &json ) {
    auto args = std::make_shared<DriverArgs>();
    args->parseJSON( json );
    return args;
}

bool insertDriverArg( const char *text, char **out, const char *name, const char *value ) {
    Json::ParsedText json( text, std::strlen( name ) + std::strlen( value ) + 1 );
    if ( !json.valid() ) {
        TRACE( 0, "failed to parse psu devArgs: %s offset %zd", json.problem(), json.offset() );
        return false;
    }
    rapidjson::Document &document = json.document();
    assert( document.HasMember( "driverArgs" ) );
    auto &allocator = document.GetAllocator();
    document[ "driverArgs" ].AddMember( rapidjson::Value( name, allocator ),
                                        rapidjson::Value( value, allocator ), allocator );
    using Buffer = rapidjson::GenericStringBuffer<rapidjson::UTF8<>, Json::CheckedAllocator>;
    Buffer buffer;
    rapidjson::Writer<Buffer, rapidjson::UTF8<>, rapidjson::ASCII<>, Json::CheckedAllocator> writer(
        buffer );
    // The parser accepts invalid UTF-8 and half a surrogate pair; neither can be written escaped.
    if ( !document.Accept( writer ) ) {
        TRACE( 0, "failed to write psu devArgs: %s",
               rapidjson::GetParseError_En( rapidjson::kParseErrorStringInvalidEncoding ) );
        return false;
    }
    char *copy = strdup( buffer.GetString() );
    if ( !copy ) {
        TRACE( 0, "failed to write psu devArgs: %s", strerror( errno ) );
        return false;
    }
    *out = copy;
    return true;
}

const std::string *optionalArg( const DriverArgs &args, const char *name ) {
    const auto it = args.driverArgs.find( name );
    return it == args.driverArgs.end() ? nullptr : &it->second;
}

const std::string &requiredArg( const DriverArgs &args, const char *name ) {
    const auto it = args.driverArgs.find( name );
    assert( it != args.driverArgs.end() );
    return it->second;
}

std::string textArg( const DriverArgs &args, const char *name, const char *defaultValue ) {
    const std::string *text = optionalArg( args, name );
    return text ? *text : defaultValue;
}

int requiredIntArg( const DriverArgs &args, const char *name ) {
    return std::stoi( requiredArg( args, name ) );
}

int intArg( const DriverArgs &args, const char *name, int defaultValue ) {
    const std::string *text = optionalArg( args, name );
    return text ? std::stoi( *text ) : defaultValue;
}

bool flagArg( const DriverArgs &args, const char *name, bool defaultValue ) {
    const std::string *text = optionalArg( args, name );
    return text ? *text == "true" : defaultValue;
}

} // namespace Drivers
