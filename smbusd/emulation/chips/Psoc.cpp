#include "smbusd/emulation/chips/Psoc.h"

#include <algorithm>

#include <fmt/format.h>

namespace smbusd {

namespace {

enum Register : uint32_t {
    powerCycleRegister = 8,
    powerOffRegister = 10,
    configuration48 = 48,
    configuration49 = 49,
    stallAlert = 50,
    configuration51 = 51,
    pwmDuty = 60,
    firstFanSpeed = 64,
};

constexpr uint32_t powerCycleBit = 1u << 0;
constexpr uint32_t powerOffBit = 1u << 1;

constexpr unsigned wordWidth = 2;
constexpr size_t mostFans = 8; // the bits of the stall alert register
constexpr uint32_t lastFanSpeed = firstFanSpeed + wordWidth * mostFans - 1;
constexpr uint32_t registerCount = 256;

constexpr uint16_t fullDuty = 10000;
constexpr uint16_t usualDuty = 5000;
/** How much of a temperature's rise fans at full speed take away. */
constexpr double mostCooling = 0.5;

constexpr uint32_t mostRpm = 0xFFFF;
constexpr uint32_t mostMilliseconds = 600000;
constexpr double coldest = -40;
constexpr double hottest = 255;

constexpr uint32_t writableRegisters[] = { powerCycleRegister, powerOffRegister, configuration48,
                                           configuration49,    configuration51,  pwmDuty,
                                           pwmDuty + 1 };

uint8_t highByte( uint32_t word ) {
    return static_cast<uint8_t>( word >> 8 );
}
uint8_t lowByte( uint32_t word ) {
    return static_cast<uint8_t>( word );
}

} // namespace

std::unique_ptr<Chip> Psoc::create( ChipContext context, const ChipOptions &options ) {
    const JsonView &json = options.json;
    auto chip = std::make_unique<Psoc>( std::move( context ) );
    Duration timeConstant = Duration::zero();
    if ( const auto spinUp = json.find( "spinUpMs" ) ) {
        timeConstant = std::chrono::milliseconds( spinUp->number( 0, mostMilliseconds ) );
    }
    if ( const auto stallRpm = json.find( "stallRpm" ) ) {
        chip->setStallRpm( stallRpm->number( 1, mostRpm ) );
    }
    if ( const auto duty = json.find( "duty" ) ) {
        chip->setResetDuty( static_cast<uint16_t>( duty->number( 0, fullDuty ) ) );
    }
    json.at( "fans" ).forEachElement( [ & ]( const JsonView &fan ) {
        fan.expectObject( { "maxRpm" } );
        if ( chip->fans_.size() == mostFans ) {
            fan.fail( fmt::format( "at most {} fans", mostFans ) );
        }
        chip->addFan( fan.at( "maxRpm" ).number( 1, mostRpm ), timeConstant );
    } );
    if ( const auto temperatures = json.find( "temperatures" ) ) {
        temperatures->forEachMember( [ & ]( std::string_view key, const JsonView &temperature ) {
            temperature.expectObject( { "name", "rise" } );
            const uint32_t reg = temperature.keyNumber( key, 0, configuration48 - 1 );
            const std::string name = temperature.at( "name" ).text();
            const auto sameName = [ &name ]( const auto &other ) {
                return other.second.name == name;
            };
            if ( reg == powerCycleRegister || reg == powerOffRegister ||
                 chip->temperatures_.contains( reg ) ) {
                temperature.fail( "a register that is not taken" );
            }
            if ( name.empty() ||
                 std::any_of( chip->temperatures_.begin(), chip->temperatures_.end(), sameName ) ) {
                temperature.at( "name" ).fail( "a name that no other temperature of the chip has" );
            }
            const auto rise = temperature.find( "rise" );
            chip->addTemperature( static_cast<uint8_t>( reg ), name, rise ? rise->real() : 0 );
        } );
    }
    chip->reset();
    return chip;
}

Psoc::Psoc( ChipContext context )
    : RegisterFile( std::move( context ), { 1, false, registerCount, 0 } ) {
    for ( uint32_t reg = 0; reg < registerCount; reg++ ) {
        if ( std::find( std::begin( writableRegisters ), std::end( writableRegisters ), reg ) ==
             std::end( writableRegisters ) ) {
            setReadOnly( reg );
        }
    }
    setResetDuty( usualDuty );
}

void Psoc::addFan( double maxRpm, Duration timeConstant ) {
    fans_.push_back( { maxRpm, FanMotor( timeConstant ) } );
}

void Psoc::addTemperature( uint8_t reg, const std::string &name, double rise ) {
    temperatures_[ reg ] = { name, rise };
}

void Psoc::setResetDuty( uint16_t hundredths ) {
    setResetValue( pwmDuty, highByte( hundredths ) );
    setResetValue( pwmDuty + 1, lowByte( hundredths ) );
}

void Psoc::reset() {
    RegisterFile::reset();
    inMessage_ = false;
    dutyWritten_ = false;
    powerRequest_ = PowerRequest::None;
    driveFans();
    for ( Fan &fan : fans_ ) {
        fan.motor.force( 0, moment() );
    }
}

bool Psoc::start( bool read ) {
    const bool acknowledged = RegisterFile::start( read );
    messageTime_ = scheduler().now();
    inMessage_ = true;
    return acknowledged;
}

void Psoc::stop() {
    RegisterFile::stop();
    inMessage_ = false;
    if ( dutyWritten_ ) {
        dutyWritten_ = false;
        driveFans();
    }
    const PowerRequest request = powerRequest_;
    powerRequest_ = PowerRequest::None;
    if ( request == PowerRequest::Off ) {
        power().powerOff();
    } else if ( request == PowerRequest::Cycle ) {
        power().powerCycle();
    }
}

void Psoc::written( uint32_t reg ) {
    switch ( reg ) {
    case pwmDuty:
    case pwmDuty + 1:
        dutyWritten_ = true;
        break;
    case powerOffRegister:
        if ( ( stored( reg ) & powerOffBit ) != 0 ) {
            powerRequest_ = PowerRequest::Off;
        }
        break;
    case powerCycleRegister:
        if ( ( stored( reg ) & powerCycleBit ) != 0 ) {
            powerRequest_ = PowerRequest::Cycle;
        }
        break;
    default:
        break;
    }
}

/** The duty of the PWM output, from 0 to 1. */
double Psoc::duty() const {
    const uint32_t hundredths = stored( pwmDuty ) << 8 | stored( pwmDuty + 1 );
    return static_cast<double>( std::min<uint32_t>( hundredths, fullDuty ) ) / fullDuty;
}

void Psoc::driveFans() {
    for ( Fan &fan : fans_ ) {
        fan.motor.drive( fan.turns() ? duty() * fan.maxRpm : 0, moment() );
    }
}

void Psoc::settle() {
    for ( Fan &fan : fans_ ) {
        fan.motor.force( fan.turns() ? duty() * fan.maxRpm : 0, moment() );
    }
}

uint16_t Psoc::speed( const Fan &fan ) const {
    return static_cast<uint16_t>( std::lround( fan.motor.speed( moment() ) ) );
}

uint8_t Psoc::stallAlerts() const {
    unsigned alerts = 0;
    for ( size_t i = 0; i < fans_.size(); i++ ) {
        if ( duty() > 0 && speed( fans_[ i ] ) < stallRpm_ ) {
            alerts |= 1u << i;
        }
    }
    return static_cast<uint8_t>( alerts );
}

/** How much of a rise the turning fans leave. */
double Psoc::riseShare() const {
    if ( fans_.empty() ) {
        return 1;
    }
    double turning = 0;
    for ( const Fan &fan : fans_ ) {
        turning += speed( fan ) / fan.maxRpm;
    }
    return 1 - mostCooling * std::min( turning / static_cast<double>( fans_.size() ), 1.0 );
}

uint8_t Psoc::degrees( const Temperature &temperature ) const {
    const double celsius = ambient_ + temperature.rise * riseShare();
    return static_cast<uint8_t>( std::lround( std::clamp( celsius, 0.0, hottest ) ) );
}

uint32_t Psoc::valueOf( uint32_t reg ) const {
    if ( reg == stallAlert ) {
        return stallAlerts();
    }
    if ( reg >= firstFanSpeed && reg <= lastFanSpeed ) {
        const size_t index = ( reg - firstFanSpeed ) / wordWidth;
        if ( index >= fans_.size() ) {
            return 0;
        }
        const uint16_t rpm = speed( fans_[ index ] );
        return ( reg - firstFanSpeed ) % wordWidth == 0 ? highByte( rpm ) : lowByte( rpm );
    }
    const auto temperature = temperatures_.find( reg );
    return temperature == temperatures_.end() ? RegisterFile::valueOf( reg )
                                              : degrees( temperature->second );
}

std::vector<RegisterInfo> Psoc::registers() const {
    std::vector<RegisterInfo> list = {
        { powerCycleRegister, 1, false, "power cycle" },
        { powerOffRegister, 1, false, "power off" },
        { configuration48, 1, false, "configuration" },
        { configuration49, 1, false, "configuration" },
        { stallAlert, 1, true, "stall alerts" },
        { configuration51, 1, false, "configuration" },
        { pwmDuty, wordWidth, false, "duty" },
    };
    for ( const auto &[ reg, temperature ] : temperatures_ ) {
        list.push_back( { reg, 1, true, temperature.name } );
    }
    for ( uint32_t i = 0; i < fans_.size(); i++ ) {
        list.push_back( { firstFanSpeed + wordWidth * i, wordWidth, true,
                          fmt::format( "fan{} speed", i + 1 ) } );
    }
    std::sort( list.begin(), list.end(),
               []( const RegisterInfo &a, const RegisterInfo &b ) { return a.number < b.number; } );
    return list;
}

RegisterInfo Psoc::infoOf( uint32_t reg ) const {
    for ( RegisterInfo &info : registers() ) {
        if ( info.number == reg ) {
            return std::move( info );
        }
    }
    noSuchRegister( reg );
}

RegisterContent Psoc::peek( uint32_t reg ) const {
    const bool isWord = infoOf( reg ).width == wordWidth;
    return isWord ? valueOf( reg ) << 8 | valueOf( reg + 1 ) : valueOf( reg );
}

void Psoc::poke( uint32_t reg, const RegisterContent &content ) {
    const uint32_t number = numberFor( reg, content, infoOf( reg ).width );
    if ( reg == stallAlert ) {
        for ( size_t i = 0; i < fans_.size(); i++ ) {
            setRotor( fans_[ i ], fans_[ i ].blocked, ( number >> i & 1 ) != 0 );
        }
    } else if ( reg == pwmDuty ) {
        store( pwmDuty, highByte( number ) );
        store( pwmDuty + 1, lowByte( number ) );
        driveFans();
    } else if ( reg >= firstFanSpeed ) {
        fans_[ ( reg - firstFanSpeed ) / wordWidth ].motor.force( number, moment() );
    } else if ( const auto found = temperatures_.find( reg ); found != temperatures_.end() ) {
        found->second.rise = ( number - ambient_ ) / riseShare();
    } else {
        RegisterFile::poke( reg, content );
    }
}

std::vector<InputInfo> Psoc::inputs() const {
    std::vector<InputInfo> list = { { "ambient", ambient_ } };
    for ( size_t i = 0; i < fans_.size(); i++ ) {
        list.push_back(
            { fmt::format( "fan{}.present", i + 1 ), static_cast<double>( fans_[ i ].present ) } );
        list.push_back(
            { fmt::format( "fan{}.blocked", i + 1 ), static_cast<double>( fans_[ i ].blocked ) } );
    }
    for ( const auto &[ reg, temperature ] : temperatures_ ) {
        list.push_back( { temperature.name + ".rise", temperature.rise } );
    }
    return list;
}

void Psoc::setRotor( Fan &fan, bool &state, bool value ) {
    if ( state == value ) {
        return;
    }
    state = value;
    fan.motor.drive( fan.turns() ? duty() * fan.maxRpm : 0, moment() );
    if ( !fan.turns() ) {
        fan.motor.force( 0, moment() );
    }
}

void Psoc::setInput( std::string_view input, double value ) {
    if ( input == "ambient" ) {
        if ( !( value >= coldest && value <= hottest ) ) {
            throw ChipError( fmt::format( "input \"ambient\" of {} \"{}\" is from {} to {}, not {}",
                                          type(), name(), coldest, hottest, value ) );
        }
        ambient_ = value;
        return;
    }
    for ( size_t i = 0; i < fans_.size(); i++ ) {
        Fan &fan = fans_[ i ];
        if ( input == fmt::format( "fan{}.present", i + 1 ) ) {
            setRotor( fan, fan.present, lineLevel( input, value ) );
            return;
        }
        if ( input == fmt::format( "fan{}.blocked", i + 1 ) ) {
            setRotor( fan, fan.blocked, lineLevel( input, value ) );
            return;
        }
    }
    for ( auto &[ reg, temperature ] : temperatures_ ) {
        if ( input == temperature.name + ".rise" ) {
            temperature.rise = value;
            return;
        }
    }
    Chip::setInput( input, value );
}

} // namespace smbusd
