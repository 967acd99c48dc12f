#pragma once

#include <array>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <smbus.pb.h>

namespace test {

/** A blocking connection to a UNIX socket, with a long deadline so that no test hangs. */
class RawClient {
  public:
    explicit RawClient( const std::string &path ) {
        fd_ = ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy( address.sun_path, sizeof( address.sun_path ) - 1 );
        if ( ::connect( fd_, reinterpret_cast<sockaddr *>( &address ), sizeof( address ) ) != 0 ) {
            ::close( fd_ );
            throw std::runtime_error( "cannot connect to " + path );
        }
        setDeadline( 30000 );
    }
    ~RawClient() { ::close( fd_ ); }
    RawClient( const RawClient & ) = delete;
    RawClient &operator=( const RawClient & ) = delete;

    void setDeadline( int milliseconds ) {
        const timeval deadline = { milliseconds / 1000, milliseconds % 1000 * 1000 };
        ::setsockopt( fd_, SOL_SOCKET, SO_RCVTIMEO, &deadline, sizeof( deadline ) );
        ::setsockopt( fd_, SOL_SOCKET, SO_SNDTIMEO, &deadline, sizeof( deadline ) );
    }

    /** @return whether everything was taken */
    bool sendBytes( std::string_view bytes ) {
        while ( !bytes.empty() ) {
            const ssize_t sent = ::send( fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL );
            if ( sent <= 0 ) {
                return false;
            }
            bytes.remove_prefix( static_cast<size_t>( sent ) );
        }
        return true;
    }

    /** @return exactly that many bytes; nothing if the connection ends or the deadline passes */
    std::optional<std::string> receiveBytes( size_t count ) {
        std::string bytes( count, '\0' );
        for ( size_t had = 0; had < count; ) {
            const ssize_t got = ::recv( fd_, bytes.data() + had, count - had, 0 );
            if ( got <= 0 ) {
                return std::nullopt;
            }
            had += static_cast<size_t>( got );
        }
        return bytes;
    }

    /** @return a line without its end */
    std::optional<std::string> receiveLine() {
        std::string line;
        for ( ;; ) {
            const auto byte = receiveBytes( 1 );
            if ( !byte ) {
                return std::nullopt;
            }
            if ( *byte == "\n" ) {
                return line;
            }
            line += *byte;
        }
    }

    /** Whether the other side has closed the connection, as opposed to being silent. */
    bool closedByPeer() {
        char byte;
        const ssize_t got = ::recv( fd_, &byte, 1, 0 );
        return got == 0 || ( got < 0 && errno == ECONNRESET );
    }

    /** Whether nothing has come and the connection still stands, looking without waiting. */
    bool silent() {
        char byte;
        return ::recv( fd_, &byte, 1, MSG_PEEK | MSG_DONTWAIT ) < 0 &&
               ( errno == EAGAIN || errno == EWOULDBLOCK );
    }

    void finishSending() { ::shutdown( fd_, SHUT_WR ); }

  private:
    int fd_ = -1;
};

/** Where a request goes: bus and device. */
struct Place {
    Smbus::MasterType master = Smbus::SCD;
    uint32_t pci = 0;
    unsigned accelerator = 0;
    unsigned bus = 0;
    unsigned address = 0;
    unsigned registerSize = 1;

    constexpr Place at( unsigned otherAddress ) const {
        Place other = *this;
        other.address = otherAddress;
        return other;
    }
};

/** Builds transactions as the driver library's clients do. */
class TransactionBuilder {
  public:
    TransactionBuilder &add( const Place &place, Smbus::RequestType type, uint32_t reg,
                             uint32_t length, const std::string &data = {}, bool pec = false ) {
        Smbus::Request &request = *request_.add_requests();
        const uint32_t fields = ( place.address & 0x7F ) | ( place.bus & 0x7F ) << 7 |
                                ( place.accelerator & 0x7F ) << 14 | place.registerSize << 25;
        request.set_type( type );
        request.set_length( length );
        request.set_address( uint64_t{ fields } << 32 | reg );
        request.set_pciaddress( place.pci );
        request.set_mastertype( place.master );
        request.set_pec( pec );
        if ( !data.empty() ) {
            request.set_data( data );
        }
        return *this;
    }
    TransactionBuilder &receiveByte( const Place &place, bool pec = false ) {
        return add( place, Smbus::READ, 0, 0, {}, pec );
    }
    TransactionBuilder &read( const Place &place, uint32_t reg, uint32_t length,
                              bool pec = false ) {
        return add( place, Smbus::READ, reg, length, {}, pec );
    }
    TransactionBuilder &sendByte( const Place &place, uint32_t byte, bool pec = false ) {
        return add( place, Smbus::WRITE, byte, 0, {}, pec );
    }
    TransactionBuilder &write( const Place &place, uint32_t reg, const std::string &data,
                               bool pec = false ) {
        return add( place, Smbus::WRITE, reg, static_cast<uint32_t>( data.size() ), data, pec );
    }
    TransactionBuilder &blockRead( const Place &place, uint32_t reg, bool pec = false ) {
        return add( place, Smbus::BLOCK_READ, reg, 0, {}, pec );
    }
    TransactionBuilder &blockWrite( const Place &place, uint32_t reg, const std::string &data,
                                    bool pec = false ) {
        return add( place, Smbus::BLOCK_WRITE, reg, static_cast<uint32_t>( data.size() ), data,
                    pec );
    }
    TransactionBuilder &processCall( const Place &place, uint32_t reg, const std::string &data,
                                     bool pec = false ) {
        return add( place, Smbus::PROCESS_CALL, reg, static_cast<uint32_t>( data.size() ), data,
                    pec );
    }
    TransactionBuilder &retries( uint32_t count ) {
        request_.set_retrycount( count );
        return *this;
    }

    const Smbus::TransactionRequest &request() const { return request_; }

  private:
    Smbus::TransactionRequest request_;
};

/** A client of the SMBus service that frames messages by hand. */
class SmbusClient : public RawClient {
  public:
    using RawClient::RawClient;

    bool send( const Smbus::TransactionRequest &request ) {
        const std::string message = request.SerializeAsString();
        return sendBytes( header( message.size() ) + message );
    }

    /** @return the reply; nothing if none came */
    std::optional<Smbus::TransactionResponse> receive() {
        const auto length = receiveBytes( 4 );
        if ( !length ) {
            return std::nullopt;
        }
        uint32_t size = 0;
        for ( const char byte : *length ) {
            size = size << 8 | static_cast<uint8_t>( byte );
        }
        const auto message = receiveBytes( size );
        Smbus::TransactionResponse reply;
        if ( !message || !reply.ParseFromString( *message ) ) {
            return std::nullopt;
        }
        return reply;
    }

    std::optional<Smbus::TransactionResponse> call( const TransactionBuilder &builder ) {
        return send( builder.request() ) ? receive() : std::nullopt;
    }

    /** The frame header of a message of that size. */
    static std::string header( size_t size ) {
        std::string bytes;
        for ( int shift = 24; shift >= 0; shift -= 8 ) {
            bytes.push_back( static_cast<char>( size >> shift & 0xFF ) );
        }
        return bytes;
    }
};

/** Bytes given as numbers. */
template <typename... Bytes>
std::string bytes( Bytes... values ) {
    return { static_cast<char>( values )... };
}

} // namespace test
