#include "orvan/board/DriverTable.h"

#include <algorithm>
#include <charconv>

#include <fmt/core.h>

namespace orvan {

namespace {

constexpr long anyInt = 2147483647;

constexpr ArgRule integer( const char *name, long minimum, long maximum ) {
    return { name, true, ArgType::Integer, minimum, maximum };
}
constexpr ArgRule flag( const char *name ) {
    return { name, false, ArgType::Flag };
}
constexpr ArgRule text( const char *name ) {
    return { name, true, ArgType::Text };
}
constexpr ArgRule oneOf( const char *name, const char *texts ) {
    return { name, true, ArgType::OneOf, 0, 0, texts };
}
constexpr ArgRule holding( const char *name, const char *placeholders ) {
    return { name, true, ArgType::Template, 0, 0, placeholders };
}
constexpr ArgRule optional( ArgRule rule ) {
    rule.required = false;
    return rule;
}
constexpr ArgRule with( const char *other, ArgRule rule ) {
    rule.onlyWith = other;
    return rule;
}

// clang-format off

constexpr ArgRule noArgs[ 1 ] = {};
constexpr std::span<const ArgRule> none{ noArgs, 0 };

// A line of the default kind: one bit of one 8-bit register.
constexpr ArgRule registerBit[] = { integer( "register", 0, 255 ), integer( "bitpos", 0, 7 ) };
constexpr ArgRule expanderBit[] = { integer( "bank", 0, 1 ), integer( "bit", 0, 7 ) };
constexpr ServiceRow lines[] = { { Service::Gpio, registerBit } };

constexpr ArgRule proxyDelays[] = { optional( integer( "localReadDelayMs", 0, 2147483 ) ),
                                    optional( integer( "localWriteDelayMs", 0, 2147483 ) ) };
constexpr ServiceRow proxy[] = { { Service::Gpio, registerBit }, { Service::SmbusProxy, proxyDelays } };
constexpr ServiceRow mux[] = { { Service::Gpio, registerBit }, { Service::Mux, none } };

constexpr ArgRule bankDirections[] = { integer( "bank-io-0", 0, 255 ), integer( "bank-io-1", 0, 255 ) };
constexpr ArgRule genericExpander[] = {
    integer( "bank-io-0", 0, 255 ), integer( "bank-io-1", 0, 255 ),
    optional( integer( "cacheTimeout", 0, 255 ) ), optional( integer( "inputBankBase", 0, 255 ) ),
    optional( integer( "outputBankBase", 0, 255 ) ), optional( integer( "configBankBase", 0, 255 ) ) };
constexpr ServiceRow expanderLines[] = { { Service::Gpio, expanderBit } };

constexpr ArgRule pmbus[] = {
    optional( integer( "voutExponent", 0, 255 ) ),
    { "gpioDevice", false, ArgType::DeviceLabel },
    with( "gpioDevice", integer( "powerOkReg", 0, 255 ) ),
    with( "gpioDevice", integer( "powerOkBit", 0, 7 ) ), flag( "powerOkActiveLow" ) };
constexpr ArgRule pmbusFan[] = { integer( "fanId", 1, 2 ), integer( "maxFanRpm", 1, anyInt ), flag( "pec" ) };
constexpr ArgRule pmbusSensor[] = { integer( "sensorId", 0, 255 ), optional( integer( "tempSensor", 1, 3 ) ),
                                    with( "!tempSensor", integer( "sensorId", 1, 3 ) ) };
constexpr ServiceRow pmbusServices[] = { { Service::Gpio, registerBit }, { Service::Psu, none },
    { Service::Fan, pmbusFan }, { Service::TempSensor, pmbusSensor } };

constexpr ArgRule psuSlot[] = {
    integer( "psuId", 1, 2 ),
    oneOf( "identificationType", "pmbus|ipmi|ipmitool|ipmitool_raw|wedge|tlv" ),
    { "gpioDevice", false, ArgType::DeviceLabel },
    with( "gpioDevice", optional( integer( "presenceReg", 0, 255 ) ) ),
    with( "gpioDevice", optional( integer( "presenceBit", 0, 7 ) ) ), flag( "presenceActiveLow" ),
    with( "gpioDevice", optional( integer( "powerOkReg", 0, 255 ) ) ),
    with( "gpioDevice", optional( integer( "powerOkBit", 0, 7 ) ) ), flag( "powerOkActiveLow" ),
    flag( "assertOnUnknownModelName" ), flag( "allowInvalidCommonHeaderChecksum" ), flag( "useApi" ),
    with( "identificationType=ipmi", text( "ipmiId" ) ),
    with( "identificationType=ipmitool", text( "ipmiId" ) ),
    with( "identificationType=ipmitool_raw", text( "ipmiRawModel" ) ),
    with( "identificationType=ipmitool_raw", text( "ipmiRawSerialNumber" ) ) };
constexpr ServiceRow psuSlotServices[] = { { Service::Gpio, registerBit }, { Service::Slot, psuSlot } };

constexpr ArgRule sfp48[] = { integer( "id", 1, 48 ) };
constexpr ArgRule qsfp32[] = { integer( "id", 1, 32 ) };
constexpr ArgRule qsfp49to56[] = { integer( "id", 49, 56 ) };
constexpr ArgRule qsfp49to54[] = { integer( "id", 49, 54 ) };
constexpr ServiceRow qCpld[] = { { Service::Gpio, registerBit }, { Service::SfpXcvr, sfp48 }, { Service::QsfpXcvr, qsfp32 } };
constexpr ServiceRow yCpld[] = { { Service::Gpio, registerBit }, { Service::SfpXcvr, sfp48 } };
constexpr ServiceRow yQsfp[] = { { Service::Gpio, registerBit }, { Service::QsfpXcvr, qsfp49to56 } };
constexpr ServiceRow sQsfp[] = { { Service::Gpio, expanderBit }, { Service::QsfpXcvr, qsfp49to54 } };

constexpr ArgRule multiSlot[] = { integer( "id", 1, 5 ) };
constexpr ServiceRow multiSlotServices[] = { { Service::Slot, multiSlot } };

// Four lights have pins; the driver itself would let a fifth through, one past the last pin.
constexpr ArgRule fanLight[] = { integer( "id", 1, 4 ) };
constexpr ArgRule fanTray[] = { integer( "fanId", 1, 4 ),
    holding( "fanFdl", "airflowDirection|maxRpm|modelName" ), text( "rpmF2B" ), text( "rpmB2F" ), text( "modelName" ) };
constexpr ServiceRow fanTrayServices[] = { { Service::Gpio, registerBit }, { Service::Led, fanLight },
    { Service::Slot, fanTray } };

constexpr ArgRule psocFan[] = { integer( "fanId", 1, 4 ), integer( "maxRpm", 1, anyInt ),
                                integer( "registerOffset", 0, 95 ), flag( "pwmMaster" ) };
constexpr ArgRule psocSensor[] = { integer( "sensorId", 0, 255 ), integer( "register", 0, 255 ) };
constexpr ServiceRow psoc[] = { { Service::Gpio, registerBit }, { Service::Fan, psocFan },
    { Service::TempSensor, psocSensor } };

constexpr ArgRule psuLight[] = { integer( "id", 1, 2 ), oneOf( "type", "multifan|psu" ) };
constexpr ServiceRow psuExpander[] = { { Service::Gpio, registerBit }, { Service::Led, psuLight } };

constexpr ArgRule emerson[] = { integer( "psuId", 1, 2 ) };
constexpr ArgRule emersonFan[] = { integer( "fanId", 1, 2 ), integer( "maxFanRpm", 1, anyInt ), flag( "pec" ) };
constexpr ServiceRow emersonServices[] = { { Service::Gpio, registerBit }, { Service::Psu, none },
    { Service::Fan, emersonFan } };

constexpr ArgRule ipmi[] = { oneOf( "hamType", "ipmitool" ), optional( text( "ipmiCommand" ) ),
    optional( integer( "ipmiTimeout", 1, anyInt ) ), optional( integer( "ipmiCacheAge", 0, anyInt ) ),
    optional( integer( "ipmiBackOff", 0, anyInt ) ) };
constexpr ArgRule ipmiPsu[] = { integer( "psuId", 1, 2 ), text( "ipmiKey" ) };
constexpr ArgRule ipmiFan[] = { integer( "fanId", 1, 7 ), optional( integer( "maxRpm", 1, anyInt ) ),
                                with( "!maxRpm", integer( "maxFanRpm", 1, anyInt ) ), text( "ipmiKey" ) };
constexpr ArgRule ipmiSensor[] = { text( "ipmiKey" ) };
constexpr ArgRule ipmiSlot[] = { integer( "fanId", 1, 8 ), text( "ipmiKey" ),
    holding( "fanFdl", "airflowDirection|maxRpm|modelName" ), text( "rpmF2B" ), text( "rpmB2F" ) };
constexpr ServiceRow ipmiServices[] = { { Service::Psu, ipmiPsu }, { Service::Fan, ipmiFan },
    { Service::TempSensor, ipmiSensor }, { Service::Slot, ipmiSlot } };

constexpr DriverRow rows[] = {
    { "Dummy", "Dummy", NeedsNoHam, none, lines },
    { "GpioDriver", "Dummy", NeedsNoHam, none, lines },
    { "SmbusProxyDriver", "SmbusProxyDriver", 0, none, proxy },
    { "GenericSmbusMux", "GenericSmbusMux", 0, none, mux },
    { "PCA9548", "GenericSmbusMux", 0, none, mux },
    { "Pmbus", "Pmbus", 0, pmbus, pmbusServices },
    { "PsuSlot", "PsuSlot", NumberedModels, none, psuSlotServices },
    { "MireQCPLD", "MirelundQCPLD", 0, none, qCpld },
    { "MultiSlot", "MultiSlot", IsMultiDevice | NeedsNoHam, none, multiSlotServices },
    { "GenericPCA9555", "GenericPCA9555", 0, genericExpander, expanderLines },
    { "MirelundPCA9555", "MirelundPCA9555", 0, bankDirections, fanTrayServices },
    { "MirelundPsoc", "MirelundPsoc", 0, none, psoc },
    { "MirePsuPCA9555", "MirePsuPCA9555", 0, none, psuExpander },
    { "EmersonPmbus", "EmersonPmbus", ReadsPsuExpander, emerson, emersonServices },
    { "MirelundSFP", "MirelundSFP", GpioTypeOffersNone, none, yCpld },
    { "MireSPCA9555", "MireSQSFP", 0, bankDirections, sQsfp },
    { "MireCLedCPLD", "MireCLedCPLD", 0, none, lines },
    { "MireYQSFP", "MireYQSFP", 0, none, yQsfp },
    { "MireYCPLD", "MirelundYCPLD", 0, none, yCpld },
    { "Ipmi", "Ipmi", NeedsNoHam | FansReadOnly, ipmi, ipmiServices },
};

// clang-format on

template <typename Use>
void forEachPart( const char *texts, Use use ) {
    for ( std::string_view rest = texts; !rest.empty(); ) {
        const auto bar = rest.find( '|' );
        use( rest.substr( 0, bar ) );
        rest = bar == std::string_view::npos ? std::string_view() : rest.substr( bar + 1 );
    }
}

std::string listed( const char *texts, const char *before, const char *after ) {
    std::string list;
    forEachPart( texts, [ & ]( std::string_view part ) {
        list += fmt::format( "{}{}{}{}", list.empty() ? "" : ", ", before, part, after );
    } );
    return list;
}

} // namespace

std::string ArgRule::expected() const {
    switch ( type ) {
    case ArgType::Integer:
        return maximum == anyInt ? fmt::format( "an integer of at least {}", minimum )
                                 : fmt::format( "an integer from {} to {}", minimum, maximum );
    case ArgType::Flag:
        return "true or false";
    case ArgType::OneOf:
        return "one of " + listed( texts, "\"", "\"" );
    case ArgType::Text:
        return "a text that is not empty";
    case ArgType::Template:
        return "a text with the placeholders " + listed( texts, "{", "}" );
    case ArgType::DeviceLabel:
        return "the label of a device that the topology declares with a driver";
    }
    return {};
}

bool ArgRule::accepts( std::string_view value ) const {
    switch ( type ) {
    case ArgType::Integer: {
        long number = 0;
        const char *end = value.data() + value.size();
        const auto result = std::from_chars( value.data(), end, number );
        return result.ec == std::errc() && result.ptr == end && number >= minimum &&
               number <= maximum;
    }
    case ArgType::Flag:
        return value == "true" || value == "false";
    case ArgType::OneOf: {
        bool found = false;
        forEachPart( texts, [ & ]( std::string_view part ) { found = found || part == value; } );
        return found;
    }
    case ArgType::Text:
    case ArgType::DeviceLabel:
        return !value.empty();
    case ArgType::Template: {
        bool all = true;
        forEachPart( texts, [ & ]( std::string_view part ) {
            all = all && value.find( fmt::format( "{{{}}}", part ) ) != std::string_view::npos;
        } );
        return all;
    }
    }
    return false;
}

bool ArgRule::applies( const std::map<std::string, std::string> &args ) const {
    if ( !onlyWith ) {
        return true;
    }
    const std::string_view condition = onlyWith;
    if ( condition.front() == '!' ) {
        return !args.count( std::string( condition.substr( 1 ) ) );
    }
    const auto equals = condition.find( '=' );
    const auto it = args.find( std::string( condition.substr( 0, equals ) ) );
    return it != args.end() &&
           ( equals == std::string_view::npos || it->second == condition.substr( equals + 1 ) );
}

const ServiceRow *DriverRow::serviceRow( Service service ) const {
    const auto it =
        std::find_if( services.begin(), services.end(),
                      [ service ]( const ServiceRow &row ) { return row.service == service; } );
    return it == services.end() ? nullptr : &*it;
}

std::span<const DriverRow> driverTable() {
    return rows;
}

const DriverRow *findDriver( std::string_view name ) {
    const auto it = std::find_if( std::begin( rows ), std::end( rows ),
                                  [ name ]( const DriverRow &row ) { return row.name == name; } );
    return it == std::end( rows ) ? nullptr : it;
}

std::string driverNames() {
    std::string names;
    for ( const DriverRow &row : rows ) {
        names += fmt::format( "{}\"{}\"", names.empty() ? "" : ", ", row.name );
    }
    return names;
}

std::string driverNames( Service service ) {
    std::string names;
    for ( const DriverRow &row : rows ) {
        if ( row.serviceRow( service ) ) {
            names += fmt::format( "{}\"{}\"", names.empty() ? "" : ", ", row.name );
        }
    }
    return names;
}

const char *serviceName( Service service ) {
    switch ( service ) {
    case Service::Gpio:
        return "a GPIO line";
    case Service::Led:
        return "an LED";
    case Service::Fan:
        return "a fan";
    case Service::TempSensor:
        return "a temperature sensor";
    case Service::SfpXcvr:
        return "an SFP cage";
    case Service::QsfpXcvr:
        return "a QSFP cage";
    case Service::Psu:
        return "a power supply";
    case Service::Slot:
        return "a slot";
    case Service::SmbusProxy:
        return "raw SMBus access";
    case Service::Mux:
        return "a mux";
    }
    return "";
}

} // namespace orvan
