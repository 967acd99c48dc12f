#include <charconv>
#include <cstdlib>
#include <memory>

#include <fmt/core.h>
#include <pl/fan.h>

#include "orvan/base/Errors.h"
#include "orvan/kinds/Kind.h"

namespace orvan {

namespace {

long maximumRpm( const Readout &readout ) {
    return readout.argument( "maxRpm", readout.argument( "maxFanRpm", 0 ) );
}

const Value &speed( Readout &readout ) {
    return readout.once( "rpm", [ &readout ] {
        auto *fan = readout.record<pl_fan>();
        int rpm = 0;
        const pl_status status = call( fan->ops, &pl_fan_ops::get_rpm, fan, &rpm );
        return Value::answer( status, rpm );
    } );
}

Value rpm( Readout &readout ) {
    return speed( readout );
}

Value percent( Readout &readout ) {
    const Value &value = speed( readout );
    const long maximum = maximumRpm( readout );
    if ( value.status != PL_STATUS_OK || maximum <= 0 ) {
        return value.status != PL_STATUS_OK ? value : Value();
    }
    return Value::of( ( std::get<long long>( value.data ) * 100 + maximum / 2 ) / maximum );
}

Value stalled( Readout &readout ) {
    const pl_status status = speed( readout ).status;
    if ( status != PL_STATUS_OK && status != PL_STATUS_FAULT ) {
        return Value::failed( status );
    }
    return Value::of( std::string( status == PL_STATUS_FAULT ? "yes" : "no" ) );
}

Value debug( Readout &readout ) {
    auto *fan = readout.record<pl_fan>();
    char *text = nullptr;
    const pl_status status = call( fan->ops, &pl_fan_ops::debug_info, fan, &text );
    const std::unique_ptr<char, decltype( &std::free )> owner( text, &std::free );
    if ( status != PL_STATUS_OK ) {
        return Value::failed( status );
    }
    return text ? Value::of( std::string( text ) ) : Value();
}

pl_status setSpeed( Peripheral &peripheral, const std::string &text ) {
    auto *fan = static_cast<pl_fan *>( peripheral.record );
    const bool isPercent = !text.empty() && text.back() == '%';
    const char *end = text.data() + text.size() - ( isPercent ? 1 : 0 );
    int number = 0;
    const auto result = std::from_chars( text.data(), end, number );
    if ( result.ec != std::errc() || result.ptr != end ) {
        throw BadInput( fmt::format( "a fan's speed cannot be \"{}\"; expected revolutions per "
                                     "minute, or a percentage as 60%",
                                     text ) );
    }
    if ( isPercent ) {
        const long maximum = maximumRpm( Readout( peripheral ) );
        if ( maximum <= 0 || number < 0 || number > 100 ) {
            throw BadInput(
                maximum <= 0
                    ? "the fan's description names no maximum speed to take a percentage of"
                    : fmt::format( "a fan cannot run at {}; expected 0% to 100%", text ) );
        }
        number = static_cast<int>( static_cast<long long>( maximum ) * number / 100 );
    }
    return call( fan->ops, &pl_fan_ops::set_rpm, fan, number );
}

constexpr Reading readings[] = { { "rpm", "rpm", 0, rpm },
                                 { "percent", "%", 0, percent },
                                 { "stalled", "", 0, stalled },
                                 { "debug", "", 0, debug, false } };
constexpr Setting settings[] = { { "rpm", "revolutions per minute, or 0% to 100%", setSpeed } };

std::span<const Setting> settingsOf( const Peripheral &peripheral ) {
    const DriverRow *driver = findDriver( peripheral.description->driver );
    if ( driver && ( driver->traits & Drivers::Table::FansReadOnly ) ) {
        return {};
    }
    return settings;
}

} // namespace

const Kind fanKind = {
    "fan",
    "pl_fan_init",
    "pl_fan_add",
    addDescribed<pl_fan>,
    []( const Peripheral & ) -> std::span<const Reading> { return readings; },
    settingsOf,
};

} // namespace orvan
