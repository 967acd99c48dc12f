/** Reading a supply's part of hardware.json. */
#include <fmt/format.h>

#include "smbusd/bus/Operation.h"
#include "smbusd/emulation/chips/PmbusNumbers.h"
#include "smbusd/emulation/chips/PmbusSupply.h"

namespace smbusd {

namespace {

constexpr double fullDuty = 100;

std::string readName( const JsonView &json ) {
    std::string text = json.text();
    if ( text.empty() || text.size() > maxSmbusBlock ) {
        json.fail( fmt::format( "a text of 1 to {} characters", maxSmbusBlock ) );
    }
    return text;
}

double readPositive( const JsonView &json, double most ) {
    const double number = json.real();
    if ( !( number > 0 && number <= most ) ) {
        json.fail( fmt::format( "a number above 0, at most {}", most ) );
    }
    return number;
}

SupplyRatings readRatings( const JsonView &json ) {
    constexpr double mostVolts = 100;
    constexpr double mostWatts = 10000;
    SupplyRatings ratings;
    if ( const auto vout = json.find( "vout" ) ) {
        ratings.vout = readPositive( *vout, mostVolts );
    }
    if ( const auto power = json.find( "ratedPower" ) ) {
        ratings.power = readPositive( *power, mostWatts );
    }
    if ( const auto efficiency = json.find( "efficiency" ) ) {
        ratings.efficiency = readPositive( *efficiency, 1 );
    }
    return ratings;
}

PmbusIdentity readIdentity( const JsonView &json ) {
    constexpr uint8_t lastLinearMode = 0x1F;
    PmbusIdentity identity;
    identity.model = readName( json.at( "model" ) );
    identity.serial = readName( json.at( "serial" ) );
    if ( const auto manufacturer = json.find( "manufacturer" ) ) {
        identity.manufacturer = readName( *manufacturer );
    }
    if ( const auto pec = json.find( "pec" ) ) {
        identity.pec = pec->boolean();
    }
    if ( const auto mode = json.find( "voutMode" ) ) {
        identity.voutMode = static_cast<uint8_t>( mode->number( 0, PmbusSupply::noVoutMode ) );
        if ( identity.voutMode > lastLinearMode && identity.voutMode != PmbusSupply::noVoutMode ) {
            mode->fail( "0 to 31 (linear, with that exponent) or 255 (no mode)" );
        }
    }
    if ( const auto protect = json.find( "writeProtect" ) ) {
        identity.writeProtect = static_cast<uint8_t>( protect->number( 0, 0xFF ) );
        if ( !PmbusSupply::isProtection( identity.writeProtect ) ) {
            protect->fail( "128, 64, 32 or 0" );
        }
    }
    return identity;
}

void readFans( PmbusSupply &supply, const JsonView &json, Duration timeConstant ) {
    json.forEachElement( [ & ]( const JsonView &fan ) {
        constexpr uint32_t mostRpm = 0xFFFF;
        constexpr double usualDuty = 50;
        fan.expectObject( { "maxRpm", "unit", "command" } );
        if ( supply.model().fans() == SupplyModel::mostFans ) {
            fan.fail( fmt::format( "at most {} fans", SupplyModel::mostFans ) );
        }
        const double maxRpm = fan.at( "maxRpm" ).number( 1, mostRpm );
        bool inRpm = false;
        if ( const auto unit = fan.find( "unit" ) ) {
            inRpm = unit->text() == "rpm";
            if ( !inRpm && unit->text() != "percent" ) {
                unit->fail( R"("percent" or "rpm")" );
            }
        }
        double command = inRpm ? maxRpm * usualDuty / fullDuty : usualDuty;
        if ( const auto given = fan.find( "command" ) ) {
            command = given->number( 0, mostRpm );
        }
        supply.addFan( maxRpm, inRpm, toLinear11( command ), timeConstant );
    } );
}

} // namespace

std::unique_ptr<Chip> PmbusSupply::create( ChipContext context, const ChipOptions &options ) {
    const JsonView &json = options.json;
    auto supply = std::make_unique<PmbusSupply>( std::move( context ), readIdentity( json ),
                                                 readRatings( json ) );
    Duration timeConstant = Duration::zero();
    if ( const auto spinUp = json.find( "spinUpMs" ) ) {
        constexpr uint32_t mostMilliseconds = 600000;
        timeConstant = std::chrono::milliseconds( spinUp->number( 0, mostMilliseconds ) );
    }
    if ( const auto fans = json.find( "fans" ) ) {
        readFans( *supply, *fans, timeConstant );
    }
    if ( const auto temperatures = json.find( "temperatures" ) ) {
        temperatures->forEachElement( [ & ]( const JsonView &temperature ) {
            temperature.expectObject( { "rise" } );
            if ( supply->model().temperatures() == mostTemperatures ) {
                temperature.fail( fmt::format( "at most {} temperatures", mostTemperatures ) );
            }
            supply->model().addTemperature( temperature.at( "rise" ).real() );
        } );
    }
    supply->reset();
    return supply;
}

} // namespace smbusd
