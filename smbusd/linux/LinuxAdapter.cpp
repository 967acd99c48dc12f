#include "smbusd/linux/LinuxAdapter.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

extern "C" {
#include <i2c/smbus.h>
}

#include <fmt/format.h>

namespace smbusd {

/**
 * ENXIO is a missing acknowledge of an address, EREMOTEIO one of any byte. Only a receive byte sends
 * nothing but its address, so only there EREMOTEIO means that nothing has happened. A process call
 * may fail with either after its data has reached the device.
 */
Result adapterFailure( const Operation &operation, int error ) {
    const std::string detail = std::strerror( error );
    const bool oneByte = operation.kind == Operation::Kind::ReceiveByte;
    const bool calls = operation.kind == Operation::Kind::ProcessCall;
    switch ( error ) {
    case ENXIO:
        return calls ? Result{ Outcome::ReadAddressNack, {}, "no acknowledge: " + detail }
                     : Result{ Outcome::AddressNack };
    case EREMOTEIO:
        return oneByte ? Result{ Outcome::AddressNack }
                       : Result{ Outcome::DataNack, {}, "no acknowledge: " + detail };
    case EAGAIN:
        return { Outcome::ArbitrationLost };
    case ETIMEDOUT:
        return { Outcome::TimedOut, {}, "timed out: " + detail };
    case EBADMSG:
        return { Outcome::BadPec };
    case EPROTO:
        return { Outcome::BadBlock };
    case EBUSY:
        return { Outcome::Failed, {}, "a driver of the kernel uses the device: " + detail };
    default:
        return { Outcome::Failed, {}, detail };
    }
}

namespace {

class LinuxAdapter : public AdapterAccess {
  public:
    explicit LinuxAdapter( std::string device ) : device_( std::move( device ) ) {}
    ~LinuxAdapter() override { close(); }

    Result perform( const Operation &operation ) override {
        if ( fd_ < 0 ) {
            fd_ = ::open( device_.c_str(), O_RDWR | O_CLOEXEC );
            if ( fd_ < 0 ) {
                return {
                    Outcome::Failed, {}, fmt::format( "{}: {}", device_, std::strerror( errno ) ) };
            }
        }
        errno = 0;
        Result result = plain( operation ) ? performRaw( operation ) : performSmbus( operation );
        if ( result.outcome == Outcome::Failed && errno == ENODEV ) {
            close(); // the adapter is gone; it may come back under the same name
        }
        return result;
    }

  private:
    void close() {
        if ( fd_ >= 0 ) {
            ::close( fd_ );
            fd_ = -1;
        }
    }

    /** Whether plain I2C messages are needed: long blocks and registers of several bytes. */
    static bool plain( const Operation &operation ) {
        const bool i2cBlock = operation.kind == Operation::Kind::I2cBlockRead ||
                              operation.kind == Operation::Kind::I2cBlockWrite;
        return ( i2cBlock && operation.length > I2C_SMBUS_BLOCK_MAX ) ||
               ( operation.hasRegister() && operation.registerSize > 1 );
    }

    Result performSmbus( const Operation &operation ) {
        if ( ::ioctl( fd_, I2C_SLAVE, static_cast<unsigned long>( operation.address ) ) < 0 ||
             ::ioctl( fd_, I2C_PEC, operation.usesPec() ? 1ul : 0ul ) < 0 ) {
            return adapterFailure( operation, errno );
        }
        using Kind = Operation::Kind;
        const auto reg = static_cast<__u8>( operation.reg );
        const auto *data = reinterpret_cast<const __u8 *>( operation.data.data() );
        const auto length = static_cast<__u8>( operation.length );
        const auto word = [ data ] { return static_cast<__u16>( data[ 0 ] | data[ 1 ] << 8 ); };
        std::array<__u8, I2C_SMBUS_BLOCK_MAX> block{};
        __s32 result = -1;
        switch ( operation.kind ) {
        case Kind::ReceiveByte:
            return bytes( operation, i2c_smbus_read_byte( fd_ ), 1 );
        case Kind::ReadByte:
            return bytes( operation, i2c_smbus_read_byte_data( fd_, reg ), 1 );
        case Kind::ReadWord:
            return bytes( operation, i2c_smbus_read_word_data( fd_, reg ), 2 );
        case Kind::ProcessCall:
            return bytes( operation, i2c_smbus_process_call( fd_, reg, word() ), 2 );
        case Kind::I2cBlockRead:
            return blockOf(
                operation, i2c_smbus_read_i2c_block_data( fd_, reg, length, block.data() ), block );
        case Kind::BlockRead:
            return blockOf( operation, i2c_smbus_read_block_data( fd_, reg, block.data() ), block );
        case Kind::SendByte:
            result = i2c_smbus_write_byte( fd_, reg );
            break;
        case Kind::WriteByte:
            result = i2c_smbus_write_byte_data( fd_, reg, data[ 0 ] );
            break;
        case Kind::WriteWord:
            result = i2c_smbus_write_word_data( fd_, reg, word() );
            break;
        case Kind::I2cBlockWrite:
            result = i2c_smbus_write_i2c_block_data( fd_, reg, length, data );
            break;
        case Kind::BlockWrite:
            result = i2c_smbus_write_block_data( fd_, reg, length, data );
            break;
        }
        return result < 0 ? adapterFailure( operation, errno ) : Result{};
    }

    static Result bytes( const Operation &operation, __s32 value, unsigned count ) {
        if ( value < 0 ) {
            return adapterFailure( operation, errno );
        }
        Result result;
        for ( unsigned i = 0; i < count; i++ ) {
            result.data.push_back( static_cast<char>( value >> ( 8 * i ) & 0xFF ) );
        }
        return result;
    }

    static Result blockOf( const Operation &operation, __s32 count,
                           const std::array<__u8, I2C_SMBUS_BLOCK_MAX> &block ) {
        if ( count < 0 ) {
            return adapterFailure( operation, errno );
        }
        const auto size = std::min( static_cast<size_t>( count ), block.size() );
        return { Outcome::Done, std::string( block.begin(), block.begin() + size ), {} };
    }

    Result performRaw( const Operation &operation ) {
        if ( operation.usesPec() || operation.kind == Operation::Kind::BlockRead ) {
            return { Outcome::Failed, {}, "the kernel does this only with a one-byte register" };
        }
        std::vector<__u8> out;
        for ( unsigned left = operation.registerSize; left > 0; left-- ) {
            out.push_back( static_cast<__u8>( operation.reg >> ( 8 * ( left - 1 ) ) ) );
        }
        if ( operation.kind == Operation::Kind::BlockWrite ) {
            out.push_back( static_cast<__u8>( operation.length ) );
        }
        out.insert( out.end(), operation.data.begin(), operation.data.end() );
        std::string in( operation.reads() ? operation.length : 0, '\0' );

        std::array<i2c_msg, 2> messages{};
        messages[ 0 ].addr = operation.address;
        messages[ 0 ].len = static_cast<__u16>( out.size() );
        messages[ 0 ].buf = out.data();
        messages[ 1 ].addr = operation.address;
        messages[ 1 ].flags = I2C_M_RD;
        messages[ 1 ].len = static_cast<__u16>( in.size() );
        messages[ 1 ].buf = reinterpret_cast<__u8 *>( in.data() );
        i2c_rdwr_ioctl_data transfer{ messages.data(), operation.reads() ? 2u : 1u };
        if ( ::ioctl( fd_, I2C_RDWR, &transfer ) < 0 ) {
            return adapterFailure( operation, errno );
        }
        return { Outcome::Done, std::move( in ), {} };
    }

    std::string device_;
    int fd_ = -1;
};

} // namespace

std::unique_ptr<AdapterAccess> openAdapter( std::string device ) {
    return std::make_unique<LinuxAdapter>( std::move( device ) );
}

} // namespace smbusd
