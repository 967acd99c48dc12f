#include "OrvanGeneric/Drivers/Drivers.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "OrvanGeneric/Drivers/ArgText.h"
#include "OrvanGeneric/Drivers/Dummy.h"
#include "OrvanGeneric/Drivers/GenericPCA9555.h"
#include "OrvanGeneric/Drivers/GenericSmbusMux.h"
#include "OrvanGeneric/Drivers/Ipmi.h"
#include "OrvanGeneric/Drivers/Mirelund/EmersonPmbus.h"
#include "OrvanGeneric/Drivers/Mirelund/MireLedCPLD.h"
#include "OrvanGeneric/Drivers/Mirelund/MirePsuPCA9555.h"
#include "OrvanGeneric/Drivers/Mirelund/MireSPCA9555.h"
#include "OrvanGeneric/Drivers/Mirelund/MirelundCPLD.h"
#include "OrvanGeneric/Drivers/Mirelund/MirelundPCA9555.h"
#include "OrvanGeneric/Drivers/Mirelund/MirelundPCA9698.h"
#include "OrvanGeneric/Drivers/Mirelund/MirelundPsoc.h"
#include "OrvanGeneric/Drivers/MultiSlot.h"
#include "OrvanGeneric/Drivers/Pmbus.h"
#include "OrvanGeneric/Drivers/PsuSlot.h"
#include "OrvanGeneric/Drivers/SmbusProxyDriver.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Topology.h"

namespace Drivers {

std::map<std::string, DriverFactory> drivers = {
    { "Dummy", Dummy::create },
    { "GpioDriver", Dummy::create },
    { "SmbusProxyDriver", SmbusProxyDriver::create },
    { "GenericSmbusMux", GenericSmbusMux::create },
    { "PCA9548", GenericSmbusMux::create },
    { "Pmbus", Pmbus::create },
    { "PsuSlot", PsuSlot::create },
    { "MireQCPLD", MirelundQCPLD::create },
    { "MultiSlot", MultiSlot::create },
    { "GenericPCA9555", GenericPCA9555::create },
    { "MirelundPCA9555", MirelundPCA9555::create },
    { "MirelundPsoc", MirelundPsoc::create },
    { "MirePsuPCA9555", MirePsuPCA9555::create },
    { "EmersonPmbus", EmersonPmbus::create },
    { "MirelundSFP", MirelundSFP::create },
    { "MireSPCA9555", MireSQSFP::create },
    { "MireCLedCPLD", MireCLedCPLD::create },
    { "MireYQSFP", MireYQSFP::create },
    { "MireYCPLD", MirelundYCPLD::create },
    { "Ipmi", Ipmi::create },
};

bool DriverArgs::parseJSON( const char *text ) {
    rapidjson::Document json;
    json.Parse( text );
    if ( json.HasParseError() ) {
        TRACE( 0, "failed to load device from json: %s offset %zd",
               rapidjson::GetParseError_En( json.GetParseError() ),
               static_cast<ssize_t>( json.GetErrorOffset() ) );
        return false;
    }
    jsonText = text;
    parseJSON( static_cast<const rapidjson::Value &>( json ) );
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
    rapidjson::Document document;
    document.Parse( text );
    if ( document.HasParseError() ) {
        TRACE( 0, "failed to parse psu devArgs: %s offset %zd",
               rapidjson::GetParseError_En( document.GetParseError() ),
               static_cast<ssize_t>( document.GetErrorOffset() ) );
        return false;
    }
    assert( document.HasMember( "driverArgs" ) );
    auto &allocator = document.GetAllocator();
    document[ "driverArgs" ].AddMember( rapidjson::Value( name, allocator ),
                                        rapidjson::Value( value, allocator ), allocator );
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::ASCII<>> writer(
        buffer );
    // Parsing lets any bytes and half a surrogate pair through; neither has an escape.
    if ( !document.Accept( writer ) ) {
        TRACE( 0, "failed to write psu devArgs: %s",
               rapidjson::GetParseError_En( rapidjson::kParseErrorStringInvalidEncoding ) );
        return false;
    }
    *out = strdup( buffer.GetString() );
    return true;
}

const std::string &requiredArg( const DriverArgs &args, const char *name ) {
    const auto it = args.driverArgs.find( name );
    assert( it != args.driverArgs.end() );
    return it->second;
}

int requiredIntArg( const DriverArgs &args, const char *name ) {
    return std::stoi( requiredArg( args, name ) );
}

int intArg( const DriverArgs &args, const char *name, int defaultValue ) {
    const auto it = args.driverArgs.find( name );
    return it == args.driverArgs.end() ? defaultValue : std::stoi( it->second );
}

bool flagArg( const DriverArgs &args, const char *name, bool defaultValue ) {
    const auto it = args.driverArgs.find( name );
    return it == args.driverArgs.end() ? defaultValue : it->second == "true";
}

} // namespace Drivers
