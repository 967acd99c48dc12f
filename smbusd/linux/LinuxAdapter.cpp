#include "smbusd/linux/LinuxAdapter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <vector>

#include <fmt/format.h>

#include "smbusd/linux/AdapterFailure.h"

namespace smbusd {

namespace {

using Kind = Operation::Kind;

/** What the kernel knows an operation as. */
struct KernelOperation {
    Kind kind;
    unsigned long function; ///< that the adapter must have, of I2C_FUNC_*
    char direction;         ///< I2C_SMBUS_READ or I2C_SMBUS_WRITE
    int size;               ///< its kind, of I2C_SMBUS_*
};

constexpr std::array<KernelOperation, 11> kernelOperations = { {
    { Kind::ReceiveByte, I2C_FUNC_SMBUS_READ_BYTE, I2C_SMBUS_READ, I2C_SMBUS_BYTE },
    { Kind::ReadByte, I2C_FUNC_SMBUS_READ_BYTE_DATA, I2C_SMBUS_READ, I2C_SMBUS_BYTE_DATA },
    { Kind::ReadWord, I2C_FUNC_SMBUS_READ_WORD_DATA, I2C_SMBUS_READ, I2C_SMBUS_WORD_DATA },
    { Kind::I2cBlockRead, I2C_FUNC_SMBUS_READ_I2C_BLOCK, I2C_SMBUS_READ, I2C_SMBUS_I2C_BLOCK_DATA },
    { Kind::SendByte, I2C_FUNC_SMBUS_WRITE_BYTE, I2C_SMBUS_WRITE, I2C_SMBUS_BYTE },
    { Kind::WriteByte, I2C_FUNC_SMBUS_WRITE_BYTE_DATA, I2C_SMBUS_WRITE, I2C_SMBUS_BYTE_DATA },
    { Kind::WriteWord, I2C_FUNC_SMBUS_WRITE_WORD_DATA, I2C_SMBUS_WRITE, I2C_SMBUS_WORD_DATA },
    { Kind::I2cBlockWrite, I2C_FUNC_SMBUS_WRITE_I2C_BLOCK, I2C_SMBUS_WRITE,
      I2C_SMBUS_I2C_BLOCK_DATA },
    { Kind::ProcessCall, I2C_FUNC_SMBUS_PROC_CALL, I2C_SMBUS_WRITE, I2C_SMBUS_PROC_CALL },
    { Kind::BlockRead, I2C_FUNC_SMBUS_READ_BLOCK_DATA, I2C_SMBUS_READ, I2C_SMBUS_BLOCK_DATA },
    { Kind::BlockWrite, I2C_FUNC_SMBUS_WRITE_BLOCK_DATA, I2C_SMBUS_WRITE, I2C_SMBUS_BLOCK_DATA },
} };

const KernelOperation &kernelOperation( Kind kind ) {
    return *std::find_if( kernelOperations.begin(), kernelOperations.end(),
                          [ kind ]( const KernelOperation &row ) { return row.kind == kind; } );
}

bool isI2cBlock( const Operation &operation ) {
    return operation.kind == Kind::I2cBlockRead || operation.kind == Kind::I2cBlockWrite;
}

/** Whether plain I2C messages are needed: long blocks and registers of several bytes. */
bool needsMessages( const Operation &operation ) {
    return ( isI2cBlock( operation ) && operation.length > I2C_SMBUS_BLOCK_MAX ) ||
           ( operation.hasRegister() && operation.registerSize > 1 );
}

Result refused( std::string why ) {
    return { Outcome::Failed, {}, std::move( why ) };
}

uint8_t byteAt( std::string_view data, size_t index ) {
    return static_cast<uint8_t>( data[ index ] );
}

class LinuxAdapter : public AdapterAccess {
  public:
    LinuxAdapter( std::unique_ptr<AdapterHold> hold, std::shared_ptr<const KernelCalls> kernel )
        : hold_( std::move( hold ) ), kernel_( std::move( kernel ) ) {}

    Result perform( const Operation &operation ) override {
        if ( const std::string why = neverPossible( operation ); !why.empty() ) {
            return refused( why );
        }
        const auto adapter = hold_->open();
        if ( !adapter ) {
            return refused( hold_->why() );
        }
        if ( auto failure = prepare( operation, adapter->fd() ) ) {
            return std::move( *failure );
        }
        return needsMessages( operation ) ? performMessages( operation, adapter->fd() )
                                          : performSmbus( operation, adapter->fd() );
    }

    std::string takeNotice() override { return hold_->takeNotice(); }

  private:
    /** What no adapter can do through the kernel; empty if there may be one that can. */
    static std::string neverPossible( const Operation &operation ) {
        if ( !needsMessages( operation ) ) {
            return {};
        }
        if ( operation.usesPec() || operation.kind == Kind::BlockRead ) {
            return fmt::format( "the kernel does a {}{} only with a register of 1 byte",
                                kindName( operation.kind ),
                                operation.usesPec() ? " with a packet error code" : "" );
        }
        const bool writes = !operation.reads();
        const uint32_t limit = longestMessage - ( writes ? operation.registerSize : 0 );
        if ( operation.length > limit ) {
            return fmt::format( "a kernel adapter {} at most {} bytes{}, not {}",
                                writes ? "writes" : "reads", limit,
                                writes ? " behind the register" : "", operation.length );
        }
        return {};
    }

    /** Makes sure that the adapter can do it and that the device is free. @return what is against it */
    std::optional<Result> prepare( const Operation &operation, int fd ) {
        unsigned long functions = 0;
        if ( kernel_->functions( fd, &functions ) < 0 ) {
            return adapterFailure( operation, errno );
        }
        const std::string lacking = lacks( operation, functions );
        if ( !lacking.empty() ) {
            return refused(
                fmt::format( "the adapter {} offers no {}", hold_->describe(), lacking ) );
        }
        if ( kernel_->set( fd, hold_->force() ? I2C_SLAVE_FORCE : I2C_SLAVE, operation.address ) <
             0 ) {
            return errno == EBUSY ? held( operation ) : adapterFailure( operation, errno );
        }
        if ( operation.usesPec() && kernel_->set( fd, I2C_PEC, 1 ) < 0 ) {
            return adapterFailure( operation, errno );
        }
        return std::nullopt;
    }

    /** What the operation needs and the adapter has not got; empty if it has all. */
    static std::string lacks( const Operation &operation, unsigned long functions ) {
        if ( needsMessages( operation ) ) {
            if ( ( functions & I2C_FUNC_I2C ) != 0 ) {
                return {};
            }
            const bool longBlock = isI2cBlock( operation ) && operation.registerSize == 1;
            return "plain I2C messages, which " +
                   ( longBlock
                         ? fmt::format( "an I2C block of {} bytes needs", operation.length )
                         : fmt::format( "a register of {} bytes needs", operation.registerSize ) );
        }
        if ( ( functions & kernelOperation( operation.kind ).function ) == 0 ) {
            return std::string( kindName( operation.kind ) );
        }
        return operation.usesPec() && ( functions & I2C_FUNC_SMBUS_PEC ) == 0 ? "packet error codes"
                                                                              : "";
    }

    Result held( const Operation &operation ) const {
        const std::string driver =
            AdapterDirectory( kernel_->sysfs ).driverOf( hold_->number(), operation.address );
        return refused( fmt::format( "the kernel's driver {}uses the device: {}; the bus would "
                                     "need \"force\": true",
                                     driver.empty() ? "" : driver + " ", errorText( EBUSY ) ) );
    }

    Result performSmbus( const Operation &operation, int fd ) {
        const KernelOperation &row = kernelOperation( operation.kind );
        i2c_smbus_data data{};
        fill( data, operation );
        const __s32 error = kernel_->smbus( fd, row.direction, static_cast<__u8>( operation.reg ),
                                            row.size, &data );
        if ( error < 0 ) {
            return adapterFailure( operation, -error );
        }
        return operation.reads() ? taken( data, operation ) : Result{};
    }

    /** What goes to the kernel along with the register. */
    static void fill( i2c_smbus_data &data, const Operation &operation ) {
        switch ( operation.kind ) {
        case Kind::WriteByte:
            data.byte = byteAt( operation.data, 0 );
            break;
        case Kind::WriteWord:
        case Kind::ProcessCall:
            data.word = static_cast<__u16>( byteAt( operation.data, 0 ) |
                                            byteAt( operation.data, 1 ) << 8 );
            break;
        case Kind::I2cBlockRead:
        case Kind::I2cBlockWrite:
        case Kind::BlockWrite:
            data.block[ 0 ] = static_cast<__u8>( operation.length );
            std::copy( operation.data.begin(), operation.data.end(), data.block + 1 );
            break;
        default:
            break;
        }
    }

    /** What came from the kernel. */
    static Result taken( const i2c_smbus_data &data, const Operation &operation ) {
        const auto word = [ &data ]( unsigned shift ) {
            return static_cast<char>( data.word >> shift & 0xFF );
        };
        switch ( operation.kind ) {
        case Kind::ReceiveByte:
        case Kind::ReadByte:
            return { Outcome::Done, std::string( 1, static_cast<char>( data.byte ) ), {} };
        case Kind::ReadWord:
        case Kind::ProcessCall:
            return { Outcome::Done, { word( 0 ), word( 8 ) }, {} };
        default:
            return takenBlock( data, operation );
        }
    }

    static Result takenBlock( const i2c_smbus_data &data, const Operation &operation ) {
        const unsigned count = data.block[ 0 ];
        if ( operation.kind == Kind::I2cBlockRead && count != operation.length ) {
            return {
                Outcome::BadBlock,
                {},
                fmt::format( "{} bytes were asked for and {} came", operation.length, count ) };
        }
        if ( count == 0 || count > I2C_SMBUS_BLOCK_MAX ) {
            return { Outcome::BadBlock, {}, fmt::format( "block count out of range: {}", count ) };
        }
        return { Outcome::Done, std::string( data.block + 1, data.block + 1 + count ), {} };
    }

    Result performMessages( const Operation &operation, int fd ) {
        std::vector<__u8> out;
        for ( unsigned left = operation.registerSize; left > 0; left-- ) {
            out.push_back( static_cast<__u8>( operation.reg >> ( 8 * ( left - 1 ) ) ) );
        }
        if ( operation.kind == Kind::BlockWrite ) {
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
        const unsigned wanted = operation.reads() ? 2 : 1;
        i2c_rdwr_ioctl_data transfer{ messages.data(), wanted };
        const int done = kernel_->messages( fd, &transfer );
        if ( done < 0 ) {
            return adapterFailure( operation, errno );
        }
        if ( static_cast<unsigned>( done ) != wanted ) {
            return refused( fmt::format( "{} of {} messages went through", done, wanted ) );
        }
        return { Outcome::Done, std::move( in ), {} };
    }

    std::unique_ptr<AdapterHold> hold_;
    std::shared_ptr<const KernelCalls> kernel_;
};

} // namespace

std::unique_ptr<AdapterAccess> makeLinuxAdapter( std::unique_ptr<AdapterHold> hold,
                                                 std::shared_ptr<const KernelCalls> kernel ) {
    return std::make_unique<LinuxAdapter>( std::move( hold ), std::move( kernel ) );
}

} // namespace smbusd
