#include "smbusd/bus/Operation.h"

#include <fmt/format.h>

#include "smbusd/bus/MasterNames.h"

namespace smbusd {

namespace {

// The address fields in the high word of a request's address.
struct Field {
    unsigned shift;
    uint32_t mask;

    constexpr uint32_t of( uint32_t word ) const { return ( word >> shift ) & mask; }
};

constexpr Field deviceAddressField = { 0, 0x7F };
constexpr Field busField = { 7, 0x7F };
constexpr Field acceleratorField = { 14, 0x7F };
constexpr Field registerSizeField = { 25, 0x3 };

constexpr uint32_t highWord( uint64_t address ) {
    return static_cast<uint32_t>( address >> 32 );
}
constexpr uint32_t lowWord( uint64_t address ) {
    return static_cast<uint32_t>( address );
}

Operation::Kind readKind( uint32_t length ) {
    switch ( length ) {
    case 0:
        return Operation::Kind::ReceiveByte;
    case 1:
        return Operation::Kind::ReadByte;
    case 2:
        return Operation::Kind::ReadWord;
    default:
        return Operation::Kind::I2cBlockRead;
    }
}

/** @return what is wrong with the length of an operation or of its data; empty when nothing is */
std::string wrongLength( const Operation &operation ) {
    using Kind = Operation::Kind;
    const uint32_t length = operation.length;
    if ( operation.kind == Kind::ProcessCall && length != 2 ) {
        return fmt::format( "a process call moves 2 bytes, not {}", length );
    }
    if ( operation.kind == Kind::BlockRead && length != 0 ) {
        return fmt::format( "a block read has the length 0, not {}: the device says how much comes",
                            length );
    }
    if ( operation.kind == Kind::BlockWrite && length > maxSmbusBlock ) {
        return fmt::format( "a block has at most {} bytes, not {}", maxSmbusBlock, length );
    }
    if ( length > maxI2cBlock ) {
        return fmt::format( "an operation moves at most {} bytes, not {}", maxI2cBlock, length );
    }
    const bool carries = operation.kind == Kind::ProcessCall || !operation.reads();
    if ( carries && operation.data.size() != length ) {
        return fmt::format( "the length is {}, but {} bytes of data are there", length,
                            operation.data.size() );
    }
    return {};
}

Operation::Kind writeKind( uint32_t length ) {
    switch ( length ) {
    case 0:
        return Operation::Kind::SendByte;
    case 1:
        return Operation::Kind::WriteByte;
    case 2:
        return Operation::Kind::WriteWord;
    default:
        return Operation::Kind::I2cBlockWrite;
    }
}

} // namespace

std::string describe( const BusKey &key ) {
    if ( key.master == Smbus::SCD ) {
        return fmt::format( "{} 0x{:08X} accelerator {} bus {}", masterName( key.master ), key.pci,
                            key.accelerator, key.bus );
    }
    return fmt::format( "{} accelerator {} bus {}", masterName( key.master ), key.accelerator,
                        key.bus );
}

bool Operation::reads() const {
    switch ( kind ) {
    case Kind::ReceiveByte:
    case Kind::ReadByte:
    case Kind::ReadWord:
    case Kind::I2cBlockRead:
    case Kind::ProcessCall:
    case Kind::BlockRead:
        return true;
    default:
        return false;
    }
}

BusKey busKeyOf( const Smbus::Request &request ) {
    const uint32_t fields = highWord( request.address() );
    BusKey key;
    key.master = request.mastertype();
    key.pci = key.master == Smbus::SCD ? request.pciaddress() : 0;
    key.accelerator = static_cast<uint8_t>( acceleratorField.of( fields ) );
    key.bus = static_cast<uint8_t>( busField.of( fields ) );
    return key;
}

std::string parseOperation( const Smbus::Request &request, Operation &operation ) {
    const uint32_t fields = highWord( request.address() );
    const uint32_t length = request.length();
    operation.address = static_cast<uint8_t>( deviceAddressField.of( fields ) );
    operation.reg = lowWord( request.address() );
    operation.registerSize = std::max( 1u, registerSizeField.of( fields ) );
    operation.length = length;
    operation.data = request.data();
    operation.pec = request.pec();

    switch ( request.type() ) {
    case Smbus::READ:
        operation.kind = readKind( length );
        break;
    case Smbus::WRITE:
        operation.kind = writeKind( length );
        break;
    case Smbus::PROCESS_CALL:
        operation.kind = Operation::Kind::ProcessCall;
        break;
    case Smbus::BLOCK_READ:
        operation.kind = Operation::Kind::BlockRead;
        break;
    case Smbus::BLOCK_WRITE:
        operation.kind = Operation::Kind::BlockWrite;
        break;
    }
    return wrongLength( operation );
}

std::string_view kindName( Operation::Kind kind ) {
    switch ( kind ) {
    case Operation::Kind::ReceiveByte:
        return "receive byte";
    case Operation::Kind::ReadByte:
        return "read byte";
    case Operation::Kind::ReadWord:
        return "read word";
    case Operation::Kind::I2cBlockRead:
        return "I2C block read";
    case Operation::Kind::SendByte:
        return "send byte";
    case Operation::Kind::WriteByte:
        return "write byte";
    case Operation::Kind::WriteWord:
        return "write word";
    case Operation::Kind::I2cBlockWrite:
        return "I2C block write";
    case Operation::Kind::ProcessCall:
        return "process call";
    case Operation::Kind::BlockRead:
        return "block read";
    case Operation::Kind::BlockWrite:
        return "block write";
    }
    return "unknown operation";
}

std::string describe( const Operation &operation ) {
    if ( operation.kind == Operation::Kind::ReceiveByte ) {
        return fmt::format( "{} from 0x{:02X}", kindName( operation.kind ), operation.address );
    }
    if ( operation.kind == Operation::Kind::SendByte ) {
        return fmt::format( "{} 0x{:02X} to 0x{:02X}", kindName( operation.kind ),
                            operation.reg & 0xFF, operation.address );
    }
    return fmt::format( "{} at register 0x{:02X} of 0x{:02X}", kindName( operation.kind ),
                        operation.reg, operation.address );
}

} // namespace smbusd
