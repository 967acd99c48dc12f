#pragma once

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/time.h>

#include <smbus.pb.h>

#include "common/Frame.h"
#include "common/UnixSocket.h"

namespace test {

/** A blocking connection to a UNIX socket, with a long deadline so that no test hangs. */
class RawClient {
  public:
    /** Connects to the listener on @p path. Throws std::system_error. */
    explicit RawClient( const std::string &path )
        : socket_( common::connectTo( path, std::chrono::seconds( 30 ) ) ) {
        setDeadline( 30000 );
    }

    /** How long sending and receiving may take from now on. */
    void setDeadline( int milliseconds ) {
        const timeval deadline = { milliseconds / 1000, milliseconds % 1000 * 1000 };
        ::setsockopt( socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &deadline, sizeof( deadline ) );
        ::setsockopt( socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &deadline, sizeof( deadline ) );
    }

    /** @return whether everything was taken */
    bool sendBytes( std::string_view bytes ) { return common::sendAll( socket_, bytes ); }

    /** @return exactly that many bytes; nothing if the connection ends or the deadline passes */
    std::optional<std::string> receiveBytes( size_t count ) {
        std::string bytes( count, '\0' );
        return common::receiveAll( socket_, bytes ) ? std::optional( bytes ) : std::nullopt;
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
        const ssize_t got = ::recv( socket_.get(), &byte, 1, 0 );
        return got == 0 || ( got < 0 && errno == ECONNRESET );
    }

    /** Whether nothing has come and the connection still stands, looking without waiting. */
    bool silent() {
        char byte;
        return ::recv( socket_.get(), &byte, 1, MSG_PEEK | MSG_DONTWAIT ) < 0 &&
               ( errno == EAGAIN || errno == EWOULDBLOCK );
    }

    /** Tells the other side that nothing more comes; it may still answer. */
    void finishSending() { ::shutdown( socket_.get(), SHUT_WR ); }

  protected:
    common::Descriptor socket_;
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

/** A client of the SMBus service. */
class SmbusClient : public RawClient {
  public:
    using RawClient::RawClient;

    /** @return whether the whole request was taken */
    bool send( const Smbus::TransactionRequest &request ) {
        return sendBytes( common::framed( request.SerializeAsString() ) );
    }

    /** @return the reply; nothing if none came */
    std::optional<Smbus::TransactionResponse> receive() {
        common::FrameDecoder frame;
        if ( !common::receiveFrame( socket_, frame ) ) {
            return std::nullopt;
        }
        Smbus::TransactionResponse reply;
        return reply.ParseFromString( frame.message() ) ? std::optional( reply ) : std::nullopt;
    }

    /** Sends a transaction. @return its reply; nothing if none came */
    std::optional<Smbus::TransactionResponse> call( const TransactionBuilder &builder ) {
        return send( builder.request() ) ? receive() : std::nullopt;
    }
};

/** Bytes given as numbers. */
template <typename... Bytes>
std::string bytes( Bytes... values ) {
    return { static_cast<char>( values )... };
}

} // namespace test
