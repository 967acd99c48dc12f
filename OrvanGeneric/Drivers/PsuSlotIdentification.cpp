/** The readers of PsuSlot::Slot: how a supply is identified, one function for each type. */
#include <algorithm>
#include <string_view>

#include "OrvanGeneric/Drivers/FruReader.h"
#include "OrvanGeneric/Drivers/PmbusFormats.h"
#include "OrvanGeneric/Drivers/PsuSlot.h"
#include "OrvanGeneric/Drivers/TlvReader.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Shell.h"
#include "OrvanGeneric/Status.h"
#include "OrvanGeneric/Utils.h"

namespace Drivers {

namespace {

/** @p text up to its first NUL: EEPROMs fill the rest of a field with those. */
std::string untilNul( const std::string &text ) {
    return text.substr( 0, text.find( '\0' ) );
}

/** The text of a block whose first byte is its length. */
std::string blockText( const std::string &block ) {
    return block.empty() ? std::string() : trim( untilNul( block.substr( 1 ) ) );
}

/** How long a management controller may take to answer. */
constexpr unsigned int commandSeconds = 10;
/** After one that took longer none is run for this time: it would stop the host's thread again. */
constexpr int64_t commandBackOff = 5000; // milliseconds

/** What follows @p key in the first line of @p output that begins with it; empty: no such line. */
std::string answerOf( std::string_view output, std::string_view key ) {
    while ( !output.empty() ) {
        const size_t end = std::min( output.find( '\n' ), output.size() );
        std::string_view line = output.substr( 0, end );
        output.remove_prefix( std::min( end + 1, output.size() ) );
        if ( line.substr( 0, key.size() ) != key ) {
            continue;
        }
        line.remove_prefix( key.size() );
        if ( !line.empty() && line.back() == '\r' ) {
            line.remove_suffix( 1 );
        }
        return trim( std::string( line ) );
    }
    return std::string();
}

constexpr unsigned wedgeStatusRegister = 8;
constexpr const char *wedgeSerial = "N/A";
constexpr const char *wedgeModel = "PWR-WEDGE";

} // namespace

pl_status PsuSlot::Slot::readSerialAndModelPmbus( std::string &serial, std::string &model ) {
    using PmbusFormats::MFR_MODEL;
    using PmbusFormats::MFR_SERIAL;
    TRACE( 7, "readSerialAndModelPmbus" );
    Ham::Ham *ham = device_->ham();
    // Size of the block in bytes, its length byte included.
    const auto size = [ ham ]( Ham::ResponseId lengthId ) {
        return static_cast<uint8_t>( ham->get8( lengthId ) + 1 );
    };
    ham->prepare();
    const Ham::ResponseId modelLength = ham->addRead8( MFR_MODEL );
    const Ham::ResponseId serialLength = ham->addRead8( MFR_SERIAL );
    int status = ham->execute();
    if ( status ) {
        return Utils::hostStatus( status );
    }
    const uint8_t modelSize = size( modelLength );
    const uint8_t serialSize = size( serialLength );
    ham->prepare();
    const Ham::ResponseId modelId = ham->addRead( MFR_MODEL, modelSize, false );
    const Ham::ResponseId serialId = ham->addRead( MFR_SERIAL, serialSize, false );
    status = ham->execute();
    if ( status ) {
        return Utils::hostStatus( status );
    }
    model = blockText( ham->getBlock( modelId, modelSize ) );
    serial = blockText( ham->getBlock( serialId, serialSize ) );
    return PL_STATUS_OK;
}

pl_status PsuSlot::Slot::readSerialAndModelIpmi( std::string &serial, std::string &model ) {
    if ( !identifiable_ ) {
        return PL_STATUS_NOT_PRESENT;
    }
    FruReader reader( device_->ham(), psuIndex_, allowInvalidCommonHeaderChecksum_ );
    const pl_status status = reader.read( serial, model );
    serial = trim( untilNul( serial ) );
    model = trim( untilNul( model ) );
    return status;
}

pl_status PsuSlot::Slot::readSerialAndModelIpmitool( std::string &serial, std::string &model ) {
    if ( !identifiable_ ) {
        return PL_STATUS_NOT_PRESENT;
    }
    if ( commandTimedOutAt_ &&
         Utils::monotonicMilliseconds() - *commandTimedOutAt_ < commandBackOff ) {
        return PL_STATUS_TRANSPORT;
    }
    commandTimedOutAt_.reset();
    // The command must not read from the host's terminal, nor print its errors there.
    const std::string line = command_ + " </dev/null 2>/dev/null";
    std::string output;
    const pl_status status = runCmd( line.c_str(), output, commandSeconds );
    if ( status == PL_STATUS_TRANSPORT ) {
        TRACE( 0, "Error: psuSlot ipmi command took longer than %u s", commandSeconds );
        commandTimedOutAt_ = Utils::monotonicMilliseconds();
    }
    if ( status == PL_STATUS_OK ) {
        model = answerOf( output, "ModelNumber=" );
        serial = answerOf( output, "SerialNumber=" );
    }
    return status;
}

pl_status PsuSlot::Slot::readSerialAndModelWedge( std::string &serial, std::string &model ) {
    uint8_t value;
    if ( device_->ham()->read8( wedgeStatusRegister, &value ) ) {
        return PL_STATUS_NOT_PRESENT;
    }
    // Supply 1 has the upper of two bits; both are active low.
    if ( value >> ( 1 - psuIndex_ ) & 1 ) {
        return PL_STATUS_NOT_PRESENT;
    }
    serial = wedgeSerial;
    model = wedgeModel;
    return PL_STATUS_OK;
}

pl_status PsuSlot::Slot::readSerialAndModelTlv( std::string &serial, std::string &model ) {
    const pl_status status = readTlvInfo( device_->ham(), serial, model );
    serial = untilNul( serial );
    model = untilNul( model );
    return status;
}

} // namespace Drivers
