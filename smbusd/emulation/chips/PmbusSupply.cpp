#include "smbusd/emulation/chips/PmbusSupply.h"

#include <algorithm>

#include <fmt/format.h>

#include "smbusd/bus/Operation.h"
#include "smbusd/emulation/chips/PmbusCommands.h"
#include "smbusd/emulation/chips/PmbusNumbers.h"

namespace smbusd {

using namespace pmbus;

namespace {

constexpr uint8_t operationOn = 0x80;

/** WRITE_PROTECT, and what each of its settings leaves writable besides itself. */
constexpr uint8_t protectAll = 0x80;
constexpr uint8_t protectAllButOperation = 0x40;
constexpr uint8_t protectAllButOutput = 0x20;
constexpr uint8_t protectNothing = 0;

/** By fan: its bits in FAN_CONFIG_1_2. */
constexpr uint8_t fanInstalled[] = { 0x80, 0x08 };
constexpr uint8_t fanInRpm[] = { 0x40, 0x04 };

/** Packet error codes, buses up to 400 kHz. */
constexpr uint8_t capabilityWithPec = 0xA0;
constexpr uint8_t capabilityWithoutPec = 0x20;
constexpr uint8_t revision12 = 0x22;

constexpr uint32_t byteMask = 0xFF;
constexpr double hottest = 100;
constexpr double fullDuty = 100;

std::vector<uint8_t> lowByteFirst( uint32_t number, unsigned width ) {
    std::vector<uint8_t> bytes;
    for ( unsigned i = 0; i < width; i++ ) {
        bytes.push_back( static_cast<uint8_t>( number >> ( 8 * i ) ) );
    }
    return bytes;
}

} // namespace

// clang-format off
const PmbusSupply::Row PmbusSupply::rows[] = {
    { OPERATION, "OPERATION", 1, true, []( const PmbusSupply &s ) -> uint32_t { return s.operation_; } },
    { WRITE_PROTECT, "WRITE_PROTECT", 1, true, []( const PmbusSupply &s ) -> uint32_t { return s.writeProtect_; } },
    { CAPABILITY, "CAPABILITY", 1, false, []( const PmbusSupply &s ) -> uint32_t { return s.knowsPec() ? capabilityWithPec : capabilityWithoutPec; } },
    { VOUT_MODE, "VOUT_MODE", 1, false, []( const PmbusSupply &s ) -> uint32_t { return s.identity_.voutMode; } },
    { FAN_CONFIG_1_2, "FAN_CONFIG_1_2", 1, true, []( const PmbusSupply &s ) -> uint32_t { return s.fanConfig_; }, 1 },
    { FAN_COMMAND_1, "FAN_COMMAND_1", 2, true, []( const PmbusSupply &s ) -> uint32_t { return s.fanCommands_[ 0 ]; }, 1 },
    { FAN_COMMAND_2, "FAN_COMMAND_2", 2, true, []( const PmbusSupply &s ) -> uint32_t { return s.fanCommands_[ 1 ]; }, 2 },
    { STATUS_BYTE, "STATUS_BYTE", 1, true, []( const PmbusSupply &s ) { return s.statusWord() & byteMask; } },
    { STATUS_WORD, "STATUS_WORD", 2, true, []( const PmbusSupply &s ) { return s.statusWord(); } },
    { STATUS_VOUT, "STATUS_VOUT", 1, true, nullptr },
    { STATUS_IOUT, "STATUS_IOUT", 1, true, nullptr },
    { STATUS_INPUT, "STATUS_INPUT", 1, true, nullptr },
    { STATUS_TEMPERATURE, "STATUS_TEMPERATURE", 1, true, nullptr },
    { STATUS_CML, "STATUS_CML", 1, true, nullptr },
    { STATUS_FANS_1_2, "STATUS_FANS_1_2", 1, true, nullptr },
    { READ_VIN, "READ_VIN", 2, false, []( const PmbusSupply &s ) -> uint32_t { return toLinear11( s.model_.inputVoltage() ); } },
    { READ_IIN, "READ_IIN", 2, false, []( const PmbusSupply &s ) -> uint32_t { return toLinear11( s.model_.inputCurrent() ); } },
    { READ_VOUT, "READ_VOUT", 2, false, []( const PmbusSupply &s ) { return s.voutWord(); } },
    { READ_IOUT, "READ_IOUT", 2, false, []( const PmbusSupply &s ) -> uint32_t { return toLinear11( s.model_.outputCurrent() ); } },
    { READ_TEMPERATURE_1, "READ_TEMPERATURE_1", 2, false, []( const PmbusSupply &s ) -> uint32_t { return toLinear11( s.model_.temperature( 0 ) ); }, 0, 1 },
    { READ_TEMPERATURE_2, "READ_TEMPERATURE_2", 2, false, []( const PmbusSupply &s ) -> uint32_t { return toLinear11( s.model_.temperature( 1 ) ); }, 0, 2 },
    { READ_TEMPERATURE_3, "READ_TEMPERATURE_3", 2, false, []( const PmbusSupply &s ) -> uint32_t { return toLinear11( s.model_.temperature( 2 ) ); }, 0, 3 },
    { READ_FAN_SPEED_1, "READ_FAN_SPEED_1", 2, false, []( const PmbusSupply &s ) -> uint32_t { return toLinear11( s.model_.fanRpm( 0 ) ); }, 1 },
    { READ_FAN_SPEED_2, "READ_FAN_SPEED_2", 2, false, []( const PmbusSupply &s ) -> uint32_t { return toLinear11( s.model_.fanRpm( 1 ) ); }, 2 },
    { READ_POUT, "READ_POUT", 2, false, []( const PmbusSupply &s ) -> uint32_t { return toLinear11( s.model_.outputPower() ); } },
    { READ_PIN, "READ_PIN", 2, false, []( const PmbusSupply &s ) -> uint32_t { return toLinear11( s.model_.inputPower() ); } },
    { PMBUS_REVISION, "PMBUS_REVISION", 1, false, []( const PmbusSupply & ) -> uint32_t { return revision12; } },
    { MFR_ID, "MFR_ID", 0, false, nullptr },
    { MFR_MODEL, "MFR_MODEL", 0, false, nullptr },
    { MFR_SERIAL, "MFR_SERIAL", 0, false, nullptr },
};
// clang-format on

PmbusSupply::PmbusSupply( ChipContext context, const PmbusIdentity &identity,
                          const SupplyRatings &ratings )
    : SmbusDevice( std::move( context ), identity.pec ), identity_( identity ),
      model_( scheduler(), ratings ), texts_{ { MFR_ID, identity.manufacturer },
                                              { MFR_MODEL, identity.model },
                                              { MFR_SERIAL, identity.serial } } {}

void PmbusSupply::addFan( double maxRpm, bool inRpm, uint16_t command, Duration timeConstant ) {
    const size_t index = model_.fans();
    resetFanConfig_ |=
        static_cast<uint8_t>( fanInstalled[ index ] | ( inRpm ? fanInRpm[ index ] : 0 ) );
    resetFanCommands_.push_back( command );
    model_.addFan( maxRpm, timeConstant );
}

void PmbusSupply::reset() {
    SmbusDevice::reset();
    operation_ = operationOn;
    model_.setEnabled( true );
    writeProtect_ = identity_.writeProtect;
    fanConfig_ = resetFanConfig_;
    fanCommands_ = resetFanCommands_;
    status_.clear();
    forced_.clear();
    switchedOn_ = model_.isSwitchedOn();
    driveFans();
    model_.stopFans();
    latchFaults();
}

bool PmbusSupply::isProtection( uint32_t value ) {
    return value == protectAll || value == protectAllButOperation || value == protectAllButOutput ||
           value == protectNothing;
}

bool PmbusSupply::start( bool read ) {
    latchFaults();
    return SmbusDevice::start( read );
}

void PmbusSupply::driveFans() {
    for ( size_t i = 0; i < model_.fans(); i++ ) {
        const double command = fromLinear11( fanCommands_[ i ] );
        const bool inRpm = ( fanConfig_ & fanInRpm[ i ] ) != 0;
        model_.setFanRpm( i, inRpm ? command : command / fullDuty * model_.maxRpm( i ) );
    }
}

// Faults

void PmbusSupply::latchFaults() {
    const auto add = [ this ]( uint8_t command, bool fault, unsigned bits ) {
        if ( fault ) {
            status_.add( command, static_cast<uint8_t>( bits ) );
        }
    };
    add( STATUS_VOUT, model_.isOn() && !model_.isDelivering(), PmbusStatus::voutUnderVoltage );
    add( STATUS_IOUT, model_.outputPower() > model_.ratings().power, PmbusStatus::ioutOverCurrent );
    add( STATUS_INPUT, !model_.hasMains(),
         PmbusStatus::vinUnderVoltage | PmbusStatus::offForInsufficientInput );
    for ( size_t i = 0; i < model_.temperatures(); i++ ) {
        add( STATUS_TEMPERATURE, model_.temperature( i ) > hottest, PmbusStatus::overTemperature );
    }
    for ( size_t i = 0; i < model_.fans(); i++ ) {
        add( STATUS_FANS_1_2, model_.isStalled( i ), PmbusStatus::fanFault[ i ] );
    }
}

uint32_t PmbusSupply::statusWord() const {
    return status_.word( !model_.isOn(), model_.isDelivering() );
}

uint32_t PmbusSupply::voutWord() const {
    const double volts = model_.outputVoltage();
    return identity_.voutMode == noVoutMode
               ? toLinear11( volts )
               : toLinear16( volts, voutExponent( identity_.voutMode ) );
}

// The wire

const PmbusSupply::Row *PmbusSupply::findRow( uint32_t command ) {
    const auto found =
        std::find_if( std::begin( rows ), std::end( rows ),
                      [ command ]( const Row &row ) { return row.command == command; } );
    return found == std::end( rows ) ? nullptr : &*found;
}

bool PmbusSupply::offers( const Row &row ) const {
    return row.fans <= model_.fans() && row.temperatures <= model_.temperatures();
}

std::optional<CommandShape> PmbusSupply::shapeOf( uint8_t command ) const {
    if ( command == CLEAR_FAULTS ) {
        return CommandShape{ CommandShape::Kind::Send, 0, false, true };
    }
    const Row *row = findRow( command );
    if ( row == nullptr || !offers( *row ) ) {
        return std::nullopt;
    }
    return CommandShape{ row->width == 0 ? CommandShape::Kind::Block : CommandShape::Kind::Bytes,
                         row->width == 0 ? unsigned{ maxSmbusBlock } : row->width, true,
                         row->writable };
}

uint32_t PmbusSupply::numberOf( const Row &row ) const {
    const auto forced = forced_.find( row.command );
    if ( forced != forced_.end() ) {
        return forced->second;
    }
    if ( row.read != nullptr ) {
        return row.read( *this );
    }
    return status_.faults( row.command );
}

std::vector<uint8_t> PmbusSupply::readCommand( uint8_t command ) {
    const Row &row = *findRow( command );
    if ( row.width == 0 ) {
        const std::string &text = texts_.at( command );
        return { text.begin(), text.end() };
    }
    return lowByteFirst( numberOf( row ), row.width );
}

bool PmbusSupply::isProtected( uint8_t command ) const {
    switch ( writeProtect_ ) {
    case protectAll:
        return command != WRITE_PROTECT;
    case protectAllButOperation:
    case protectAllButOutput:
        return command != WRITE_PROTECT && command != OPERATION;
    default:
        return false;
    }
}

void PmbusSupply::writeCommand( uint8_t command, std::span<const uint8_t> data ) {
    if ( isProtected( command ) ) {
        refuseData( fmt::format( "write of command 0x{:02X} while WRITE_PROTECT is 0x{:02X}",
                                 command, writeProtect_ ) );
        return;
    }
    if ( command == CLEAR_FAULTS ) {
        status_.clear();
        latchFaults();
        return;
    }
    const auto value =
        static_cast<uint16_t>( data.size() == 1 ? data[ 0 ] : data[ 0 ] | data[ 1 ] << 8 );
    if ( command == WRITE_PROTECT && !isProtection( value ) ) {
        refuseData( fmt::format(
            "0x{:02X} for WRITE_PROTECT, where 0x80, 0x40, 0x20 or 0 was expected", value ) );
        return;
    }
    store( command, value );
}

void PmbusSupply::refuseData( const std::string &why ) {
    misuse( why );
    status_.add( STATUS_CML, PmbusStatus::invalidData );
}

void PmbusSupply::store( uint8_t command, uint16_t value ) {
    switch ( command ) {
    case OPERATION:
        operation_ = static_cast<uint8_t>( value );
        model_.setEnabled( ( operation_ & operationOn ) != 0 );
        break;
    case WRITE_PROTECT:
        writeProtect_ = static_cast<uint8_t>( value );
        break;
    case FAN_CONFIG_1_2:
        fanConfig_ = static_cast<uint8_t>( value );
        break;
    case FAN_COMMAND_1:
    case FAN_COMMAND_2:
        fanCommands_[ command - FAN_COMMAND_1 ] = value;
        break;
    case STATUS_BYTE:
    case STATUS_WORD:
        break; // BUSY and UNKNOWN, the only bits without a register of their own, are never set
    default:
        status_.clear( command, static_cast<uint8_t>( value ) );
    }
    driveFans();
    followSwitches();
}

void PmbusSupply::followSwitches() {
    const bool on = model_.isSwitchedOn();
    if ( on && !switchedOn_ ) {
        status_.clear();
    }
    switchedOn_ = on;
    latchFaults();
}

void PmbusSupply::refused( SmbusMisuse misuse ) {
    switch ( misuse ) {
    case SmbusMisuse::UnknownCommand:
        status_.add( STATUS_CML, PmbusStatus::invalidCommand );
        break;
    case SmbusMisuse::BadData:
        status_.add( STATUS_CML, PmbusStatus::invalidData );
        break;
    case SmbusMisuse::BadPec:
        status_.add( STATUS_CML, PmbusStatus::packetErrorCheckFailed );
        break;
    }
}

std::vector<RegisterInfo> PmbusSupply::registers() const {
    std::vector<RegisterInfo> list;
    for ( const Row &row : rows ) {
        if ( offers( row ) ) {
            list.push_back( { row.command, row.width, !row.writable, row.name } );
        }
    }
    return list;
}

} // namespace smbusd
