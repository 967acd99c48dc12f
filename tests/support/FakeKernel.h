#pragma once

#include <cerrno>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "common/TemporaryFolder.h"
#include "smbusd/linux/KernelCalls.h"

namespace test {

/** All that the kernel's own emulation of SMBus offers, plain I2C messages besides. */
inline constexpr unsigned long everyFunction =
    I2C_FUNC_I2C | I2C_FUNC_SMBUS_EMUL | I2C_FUNC_SMBUS_READ_BLOCK_DATA;

/**
 * Adapters of a kernel that is not there: a sysfs of its own in a temporary folder, device files by
 * path, and what the calls answer.
 */
class FakeKernel {
  public:
    /** One SMBus operation, as it came to the kernel. */
    struct SmbusCall {
        char direction;
        unsigned command;
        int size;
        i2c_smbus_data data;
    };
    /** One plain message. */
    struct Message {
        unsigned address;
        bool read;
        std::string data;
        size_t length;
    };

    FakeKernel() { std::filesystem::create_directories( devices() ); }

    /** Plugs an adapter in; its device file is /dev/i2c-NUMBER. */
    void add( unsigned number, const std::string &name, const std::string &parent = "pci0/0" ) {
        const std::string place =
            fmt::format( "{}/sys/devices/{}/i2c-{}", folder_.path(), parent, number );
        std::filesystem::create_directories( place );
        folder_.write( fmt::format( "sys/devices/{}/i2c-{}/name", parent, number ), name + "\n" );
        std::filesystem::create_directory_symlink( place, entry( number ) );
        files[ fmt::format( "/dev/i2c-{}", number ) ] = number;
    }
    /** Pulls it. */
    void remove( unsigned number ) {
        std::filesystem::remove_all( std::filesystem::canonical( entry( number ) ) );
        std::filesystem::remove( entry( number ) );
        files.erase( fmt::format( "/dev/i2c-{}", number ) );
    }
    /** A driver of the kernel takes a device. */
    void bind( unsigned number, unsigned address, const std::string &driver ) {
        const std::string client = fmt::format( "{}{}-{:04x}", devices(), number, address );
        std::filesystem::create_directories( client );
        std::filesystem::create_symlink( "/sys/bus/i2c/drivers/" + driver, client + "/driver" );
        held.insert( address );
    }
    void removeSysfs() { std::filesystem::remove_all( folder_.file( "sys" ) ); }

    /** The calls on it; it must outlive them. */
    std::shared_ptr<const smbusd::KernelCalls> calls() {
        auto calls = std::make_shared<smbusd::KernelCalls>();
        calls->sysfs = folder_.file( "sys" );
        calls->open = [ this ]( const char *path ) { return open( path ); };
        calls->close = [ this ]( int fd ) { openFiles.erase( fd ); };
        calls->adapterNumber = [ this ]( int fd ) -> std::optional<unsigned> {
            const int number = openFiles.at( fd );
            return number < 0 ? std::nullopt : std::optional<unsigned>( number );
        };
        calls->set = [ this ]( int, unsigned long request, unsigned long value ) {
            return set( request, value );
        };
        calls->functions = [ this ]( int, unsigned long *functions ) {
            *functions = offered;
            return answer( functionsError );
        };
        calls->smbus = [ this ]( int, char direction, __u8 command, int size,
                                 i2c_smbus_data *data ) {
            smbusCalls.push_back( { direction, command, size, *data } );
            return smbus ? smbus( *data ) : 0;
        };
        calls->messages = [ this ]( int, i2c_rdwr_ioctl_data *transfer ) {
            return carry( *transfer );
        };
        return calls;
    }

    std::map<std::string, int> files;      ///< device files, and the adapter of each; -1: none
    std::map<int, int> openFiles;          ///< descriptors, and the adapter of each
    std::map<std::string, int> openErrors; ///< paths that cannot be opened, and why
    std::set<unsigned> held;               ///< addresses that a driver of the kernel uses
    unsigned long offered = everyFunction; ///< I2C_FUNC_*
    int functionsError = 0;                ///< what I2C_FUNCS fails with
    int pecError = 0;                      ///< what I2C_PEC fails with
    std::function<int( i2c_smbus_data & )> smbus; ///< answers an SMBus operation: 0 or -errno
    std::string read;                             ///< what plain messages bring
    int messagesAnswer = 0; ///< of I2C_RDWR; 0: all went through; negative: -errno
    std::function<void( const std::string & )> opened; ///< told of each opening

    std::vector<SmbusCall> smbusCalls;
    std::vector<Message> messages;
    std::vector<std::pair<unsigned long, unsigned long>> settings; ///< requests and their values

  private:
    std::string devices() const { return folder_.file( "sys/bus/i2c/devices/" ); }
    std::string entry( unsigned number ) const {
        return fmt::format( "{}i2c-{}", devices(), number );
    }

    static int answer( int error ) {
        errno = error;
        return error == 0 ? 0 : -1;
    }

    int open( const std::string &path ) {
        if ( opened ) {
            opened( path );
        }
        const auto error = openErrors.find( path );
        if ( error != openErrors.end() || !files.contains( path ) ) {
            return answer( error != openErrors.end() ? error->second : ENOENT );
        }
        openFiles[ ++lastDescriptor_ ] = files[ path ];
        return lastDescriptor_;
    }

    int set( unsigned long request, unsigned long value ) {
        settings.emplace_back( request, value );
        if ( request == I2C_SLAVE && held.contains( static_cast<unsigned>( value ) ) ) {
            return answer( EBUSY );
        }
        return answer( request == I2C_PEC ? pecError : 0 );
    }

    int carry( i2c_rdwr_ioctl_data &transfer ) {
        for ( unsigned i = 0; i < transfer.nmsgs; i++ ) {
            i2c_msg &message = transfer.msgs[ i ];
            const bool reads = ( message.flags & I2C_M_RD ) != 0;
            if ( reads ) {
                read.resize( message.len, '\xEE' );
                read.copy( reinterpret_cast<char *>( message.buf ), message.len );
            }
            messages.push_back( { message.addr, reads,
                                  std::string( message.buf, message.buf + message.len ),
                                  message.len } );
        }
        if ( messagesAnswer < 0 ) {
            return answer( -messagesAnswer );
        }
        return messagesAnswer > 0 ? messagesAnswer : static_cast<int>( transfer.nmsgs );
    }

    common::TemporaryFolder folder_;
    int lastDescriptor_ = 100;
};

} // namespace test
