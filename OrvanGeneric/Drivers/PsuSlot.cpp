#include "OrvanGeneric/Drivers/PsuSlot.h"

#include <array>
#include <cassert>
#include <stdexcept>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Drivers/PmbusFormats.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Shell.h"

namespace Drivers {

namespace {

/** In the order of Slot's identification types. */
constexpr std::array typeNames = { "pmbus", "ipmi", "ipmitool", "ipmitool_raw", "wedge", "tlv" };

/** Serial number and model of a supply that is in the bay but has no output. */
constexpr const char *unknownSerial = "N/A";
constexpr const char *unpoweredModel = "PWR-UNKNOWN";

constexpr const char *serialKey = "serialNum";
constexpr const char *serialPlaceholder = "{serialNum}";

struct SampleSupply {
    const char *model;
    const char *serial;
};
/** Samples of the supplies that fit these bays; the simulation shows the first. */
constexpr SampleSupply sampleSupplies[] = {
    { "DPS550AB6A", "GTVD1615001656" },
    { "PS-2471-1AZ1-LF", "61AZ10101E340DU" },
};

/** A text as the first @p size characters of a simulated register, filled up with blanks. */
Utils::ExpectedVal simulatedText( std::string text, unsigned size ) {
    text.resize( size, ' ' );
    return { text, size };
}

/**
 * The sample supply, readable as a FRU image and over PMBus. The FRU image has its product area at 8;
 * the area's fields begin at 11, 17, 29, 40 and 44. The PMBus blocks begin with their length in
 * hexadecimal digits: a byte read takes the first two characters.
 */
Utils::ExpectedValues simulatedSupply( const SampleSupply &supply ) {
    using PmbusFormats::MFR_MODEL;
    using PmbusFormats::MFR_SERIAL;
    return {
        { 4, { 1, 1 } },
        { 11, { 0xC5, 1 } },
        { 17, { 0xCB, 1 } },
        { 18, simulatedText( supply.model, 11 ) },
        { 29, { 0xCA, 1 } },
        { 40, { 0xC3, 1 } },
        { 44, { 0xCE, 1 } },
        { 45, simulatedText( supply.serial, 14 ) },
        { MFR_MODEL, simulatedText( std::string( "B " ) + supply.model, 12 ) },
        { MFR_SERIAL, simulatedText( std::string( "F " ) + supply.serial, 16 ) },
    };
}

const Utils::ExpectedValues simulatedRegisters = simulatedSupply( sampleSupplies[ 0 ] );

bool holdsPlaceholder( const std::string &text ) {
    return text.find( serialPlaceholder ) != std::string::npos;
}

} // namespace

Component::HardwareDevice *PsuSlot::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 0, "Creating Pmbus Device" );
    return new PsuSlot();
}

const Utils::ExpectedValues *PsuSlot::expectedValues() {
    return &simulatedRegisters;
}

Component::LogicalDevice::Slot *PsuSlot::newSlot( const DriverArgs &args ) {
    if ( args.driverArgs.find( "psuId" ) == args.driverArgs.end() ) {
        TRACE( 0, "Error: expected 'psuId' in slot driverArgs" );
        return nullptr;
    }
    const int psuId = requiredIntArg( args, "psuId" );
    assert( psuId == 1 || psuId == 2 );
    TRACE( 5, "Creating new PsuSlot for Psu id %hhu", static_cast<uint8_t>( psuId ) );
    return new Slot( this, static_cast<uint8_t>( psuId - 1 ), args.driverArgs );
}

PsuSlot::Slot::Slot( Component::HardwareDevice *device, uint8_t psuIndex,
                     const std::map<std::string, std::string> &slotArgs )
    : device_( device ), psuIndex_( psuIndex ), slotArgs_( slotArgs ), type_( Invalid ),
      presenceGpio_( newLine( "presenceReg", "presenceBit" ) ),
      powerOkGpio_( newLine( "powerOkReg", "powerOkBit" ) ),
      presenceActiveLow_( slotFlag( "presenceActiveLow" ) ),
      powerOkActiveLow_( slotFlag( "powerOkActiveLow" ) ),
      assertOnUnknownModelName_( slotFlag( "assertOnUnknownModelName" ) ),
      allowInvalidCommonHeaderChecksum_( slotFlag( "allowInvalidCommonHeaderChecksum" ) ) {
    readModels();
    configureIdentification();
}

bool PsuSlot::Slot::slotFlag( const char *name ) const {
    const auto it = slotArgs_.find( name );
    return it != slotArgs_.end() && it->second == "true";
}

std::string PsuSlot::Slot::slotText( const char *name ) const {
    const auto it = slotArgs_.find( name );
    return it == slotArgs_.end() ? std::string() : it->second;
}

void PsuSlot::Slot::readModels() {
    for ( int number = 1;; ++number ) {
        const auto model = slotArgs_.find( "model_" + std::to_string( number ) );
        if ( model == slotArgs_.end() ) {
            return;
        }
        const std::string psuFdlKey = "psuFdl_" + std::to_string( number );
        assert( slotArgs_.find( psuFdlKey ) != slotArgs_.end() );
        // The first template counts for a model that is listed twice.
        models_.emplace( model->second, FormatFdl( slotArgs_.at( psuFdlKey ) ) );
    }
}

Component::LogicalDevice::Gpio *PsuSlot::Slot::newLine( const char *regKey,
                                                        const char *bitKey ) const {
    const auto device = slotArgs_.find( "gpioDevice" );
    const auto reg = slotArgs_.find( regKey );
    const auto bit = slotArgs_.find( bitKey );
    if ( device == slotArgs_.end() || reg == slotArgs_.end() || bit == slotArgs_.end() ) {
        return nullptr;
    }
    return getRegGpioForDevice( device->second.c_str(),
                                static_cast<uint32_t>( std::stoi( reg->second ) ),
                                static_cast<uint32_t>( std::stoi( bit->second ) ) );
}

void PsuSlot::Slot::configureIdentification() {
    const std::string name = slotText( "identificationType" );
    TRACE( 0, "PsuSlot identification type: %s", name.c_str() );
    int type = Pmbus;
    while ( type < Invalid && name != typeNames[ static_cast<size_t>( type ) ] ) {
        ++type;
    }
    type_ = static_cast<IdentificationType>( type );

    switch ( type_ ) {
    case Ipmi:
    case Ipmitool:
        configureIpmi();
        break;
    case IpmitoolRaw:
        configureIpmitoolRaw();
        break;
    case Invalid:
        TRACE( 0, "Invalid identification type: '%s'", name.c_str() );
        break;
    case Pmbus:
    case Wedge:
    case Tlv:
        break;
    }
    if ( !command_.empty() ) {
        TRACE( 0, "psuSlot ipmi command: '%s'", command_.c_str() );
    }
}

void PsuSlot::Slot::configureIpmi() {
    if ( !slotArgs_.contains( "ipmiId" ) ) {
        TRACE( 0, "PsuSlot identification type is ipmi but ipmiId not found" );
        identifiable_ = false;
        return;
    }
    if ( type_ == Ipmitool ) {
        command_ = slotFlag( "useApi" ) ? "kyIpmi api " : "kyIpmi ";
        command_ += shellQuote( slotText( "ipmiId" ) );
        command_ += " psuSlot " + std::to_string( psuIndex_ + 1 );
    }
}

void PsuSlot::Slot::configureIpmitoolRaw() {
    if ( !slotArgs_.contains( "ipmiRawModel" ) ) {
        TRACE( 0, "PsuSlot identification type is ipmitool_raw but ipmiRawModel not found" );
        identifiable_ = false;
    }
    if ( !slotArgs_.contains( "ipmiRawSerialNumber" ) ) {
        TRACE( 0, "PsuSlot identification type is ipmitool_raw but ipmiRawSerialNumber not found" );
        identifiable_ = false;
    }
    if ( identifiable_ ) {
        command_ = "kyIpmi raw";
        command_ += " ModelNumber=" + shellQuote( slotText( "ipmiRawModel" ) );
        command_ += " SerialNumber=" + shellQuote( slotText( "ipmiRawSerialNumber" ) );
    }
}

pl_status PsuSlot::Slot::readLines( bool &present, bool &powerOk ) {
    present = powerOk = true;
    if ( !presenceGpio_ || !powerOkGpio_ ) {
        return PL_STATUS_OK;
    }
    unsigned int bit;
    pl_status status = presenceGpio_->bitRead( &bit );
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    present = ( bit != 0 ) != presenceActiveLow_;
    status = powerOkGpio_->bitRead( &bit );
    if ( status == PL_STATUS_OK ) {
        powerOk = ( bit != 0 ) != powerOkActiveLow_;
    }
    return status;
}

pl_status PsuSlot::Slot::getPresence( char **fdl ) {
    TRACE( 7, "getPresence" );
    bool present, powerOk;
    const pl_status lines = readLines( present, powerOk );
    if ( lines != PL_STATUS_OK ) {
        return lines;
    }
    if ( !present ) {
        return PL_STATUS_NOT_PRESENT;
    }

    std::string serial = unknownSerial;
    std::string model = unpoweredModel;
    if ( powerOk ) {
        const pl_status identified = readSerialAndModel_( serial, model );
        if ( identified != PL_STATUS_OK ) {
            forgetFdl();
            return identified;
        }
    }
    // A supply without output is unknown even if its stand-in name has a template.
    const auto known = powerOk ? models_.find( model ) : models_.end();
    if ( known == models_.end() ) {
        assert( !assertOnUnknownModelName_ );
        TRACE( 0, "Unknown modelName. PSU is unmanaged" );
        forgetFdl();
        return PL_STATUS_NOT_PRESENT;
    }
    return giveFdl( serial, model, known->second, fdl );
}

void PsuSlot::Slot::forgetFdl() {
    cachedFdl_.forget();
    cachedSerial_.clear();
    cachedModel_.clear();
}

pl_status PsuSlot::Slot::giveFdl( const std::string &serial, const std::string &model,
                                  FormatFdl &format, char **fdl ) {
    if ( cachedFdl_.filled() && serial == cachedSerial_ && model == cachedModel_ ) {
        TRACE( 7, "Using cached fdl" );
    } else {
        TRACE( 0, "PSU serialNum = '%s'", serial.c_str() );
        TRACE( 0, "PSU modelName = '%s'", model.c_str() );
        format.start();
        format.set( serialKey, serial );
        cachedFdl_.keep( format.charPtr() );
        cachedSerial_ = serial;
        cachedModel_ = model;
    }
    return cachedFdl_.copyKept( fdl );
}

pl_status PsuSlot::Slot::readSerialAndModel_( std::string &serial, std::string &model ) {
    TRACE( 7, "readSerialAndModel_" );
    serial.clear();
    model.clear();
    pl_status status = PL_STATUS_NOT_PRESENT;
    switch ( type_ ) {
    case Pmbus:
        status = readSerialAndModelPmbus( serial, model );
        break;
    case Ipmi:
        status = readSerialAndModelIpmi( serial, model );
        break;
    case Ipmitool:
    case IpmitoolRaw:
        status = readSerialAndModelIpmitool( serial, model );
        break;
    case Wedge:
        status = readSerialAndModelWedge( serial, model );
        break;
    case Tlv:
        status = readSerialAndModelTlv( serial, model );
        break;
    case Invalid:
        throw std::runtime_error( "unknown identification type for psu" );
    }
    // A text with a placeholder in it would be replaced by itself without end.
    if ( status == PL_STATUS_OK && !serial.empty() && !model.empty() &&
         !holdsPlaceholder( serial ) && !holdsPlaceholder( model ) ) {
        return PL_STATUS_OK;
    }
    TRACE( 7, "Failed to read PSU info '%s' '%s'", serial.c_str(), model.c_str() );
    return PL_STATUS_NOT_PRESENT;
}

} // namespace Drivers
