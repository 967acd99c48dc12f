#include <PLSocket.h>
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include <pl/host.h>

// Programs without these services use the client as well.
extern "C" __attribute__( ( weak ) ) void pl_fd_watcher_delete( uint32_t watcher );

namespace PlatformLibrary {

namespace {

using std::chrono::milliseconds;

constexpr char defaultPath[] = "/run/smbusd.sock";
constexpr milliseconds defaultTimeout = std::chrono::seconds( 10 );

constexpr size_t headerSize = 4;
constexpr size_t maxMessageSize = size_t{ 1 } << 20;
/** What one recv() asks for at least: whole replies of all but bulk transfers. */
constexpr size_t usualFrameSize = 4096;

/**
 * Below this deadline every wait is a poll(2). The kernel ends a socket's own time-out up to an
 * eighth and some timer ticks late, too late for a short deadline.
 */
constexpr milliseconds shortestCoarseTimeout( 40 );

/** The one deadline of a call, on the monotonic clock. */
class Deadline {
  public:
    explicit Deadline( milliseconds timeout )
        : end_( std::chrono::steady_clock::now() + timeout ),
          untouched_( timeout >= shortestCoarseTimeout ) {}

    std::chrono::microseconds left() const {
        return std::chrono::ceil<std::chrono::microseconds>( end_ -
                                                             std::chrono::steady_clock::now() );
    }

    /**
     * Whether the caller may now wait for half of the whole time and end that late: only as the
     * first wait of a call. Tells so without a look at the clock.
     */
    bool takeCoarseWait() { return std::exchange( untouched_, false ); }

    /** Waits until @p fd has @p events or an error to report. @return false: ETIMEDOUT */
    bool waitFor( int fd, short events ) {
        untouched_ = false;
        for ( ;; ) {
            const auto time = std::chrono::ceil<milliseconds>( left() );
            if ( time.count() <= 0 ) {
                errno = ETIMEDOUT;
                return false;
            }
            pollfd descriptor = { fd, events, 0 };
            const int count = poll( &descriptor, 1, static_cast<int>( time.count() ) );
            if ( count > 0 ) {
                return true;
            }
            if ( count < 0 && errno != EINTR ) {
                return false;
            }
        }
    }

  private:
    std::chrono::steady_clock::time_point end_;
    bool untouched_; // nothing has waited yet, and the deadline is long enough for a coarse wait
};

milliseconds timeoutFromEnvironment() {
    const char *value = std::getenv( "PL_SMBUS_TIMEOUT_MS" );
    if ( !value ) {
        return defaultTimeout;
    }
    const std::string_view text( value );
    int number = 0;
    const auto [ end, error ] = std::from_chars( text.data(), text.data() + text.size(), number );
    if ( error != std::errc() || end != text.data() + text.size() || number <= 0 ) {
        return defaultTimeout;
    }
    return milliseconds( number );
}

/** Sets one of a socket's own time-outs to half of @p time: it ends late, but not by so much. */
bool halfTimeoutIs( int fd, int option, std::chrono::microseconds time ) {
    const auto half = std::max( time / 2, std::chrono::microseconds( 1 ) ); // 0 would be no limit
    const auto seconds = std::chrono::floor<std::chrono::seconds>( half );
    timeval value = {};
    value.tv_sec = static_cast<decltype( value.tv_sec )>( seconds.count() );
    value.tv_usec = static_cast<decltype( value.tv_usec )>( ( half - seconds ).count() );
    return setsockopt( fd, SOL_SOCKET, option, &value, sizeof value ) == 0;
}

bool addressFromEnvironment( sockaddr_un &address ) {
    const char *value = std::getenv( "PL_SMBUS_SOCKET" );
    const std::string_view path( value && *value ? value : defaultPath );
    if ( path.size() >= sizeof address.sun_path ) {
        errno = ENAMETOOLONG;
        return false;
    }
    address.sun_family = AF_UNIX;
    path.copy( address.sun_path, path.size() );
    return true;
}

/**
 * Connects @p fd. It waits in connect(2) itself, which alone can wait for room in the service's
 * backlog: poll(2) does not report that, and a non-blocking attempt fails immediately.
 */
bool connectWithin( int fd, const sockaddr_un &address, Deadline &deadline ) {
    deadline.takeCoarseWait(); // it is taken here
    for ( auto left = deadline.left(); left.count() > 0; left = deadline.left() ) {
        if ( !halfTimeoutIs( fd, SO_SNDTIMEO, left ) ) {
            return false;
        }
        if ( connect( fd, reinterpret_cast<const sockaddr *>( &address ), sizeof address ) == 0 ) {
            return true;
        }
        if ( errno != EAGAIN && errno != EINTR ) {
            return false;
        }
    }
    errno = ETIMEDOUT;
    return false;
}

/** @return the descriptor of a new connection to the service, -1 with errno set. */
int openConnection( milliseconds timeout, Deadline &deadline ) {
    sockaddr_un address = {};
    if ( !addressFromEnvironment( address ) ) {
        return -1;
    }
    const int fd = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
    if ( fd < 0 ) {
        return -1;
    }
    if ( connectWithin( fd, address, deadline ) && halfTimeoutIs( fd, SO_RCVTIMEO, timeout ) ) {
        return fd;
    }
    const int error = errno;
    close( fd );
    errno = error;
    return -1;
}

/**
 * Whether a new transaction may go out on @p fd: the service still holds it and has sent nothing
 * beyond the last reply, which would be taken for the next one.
 */
bool isInStep( int fd ) {
    pollfd descriptor = { fd, POLLIN, 0 };
    int count;
    do {
        count = poll( &descriptor, 1, 0 );
    } while ( count < 0 && errno == EINTR );
    return count == 0;
}

/** Sends a whole frame. @p sent tells, on failure too, how many bytes may have got through. */
bool sendFrame( int fd, const uint8_t *frame, size_t size, Deadline &deadline, size_t &sent ) {
    for ( sent = 0; sent < size; ) {
        const ssize_t count = send( fd, frame + sent, size - sent, MSG_NOSIGNAL | MSG_DONTWAIT );
        if ( count >= 0 ) {
            sent += static_cast<size_t>( count );
        } else if ( errno == EAGAIN ) {
            if ( !deadline.waitFor( fd, POLLOUT ) ) {
                return false;
            }
        } else if ( errno != EINTR ) {
            return false;
        }
    }
    return true;
}

/**
 * Waits for bytes and reads what there is, up to @p size.
 *
 * The usual wait is the blocking recv(2) itself, bounded by the socket's own time-out: a poll(2)
 * before it would cost a tenth of a whole exchange. When that time-out does not suit, or is over,
 * poll(2) waits for the exact rest.
 *
 * @return the number of bytes; 0: the service closed the connection; -1 with errno set
 */
ssize_t receiveSome( int fd, uint8_t *data, size_t size, Deadline &deadline ) {
    for ( ;; ) {
        const bool coarse = deadline.takeCoarseWait();
        if ( !coarse && !deadline.waitFor( fd, POLLIN ) ) {
            return -1;
        }
        const ssize_t count = recv( fd, data, size, coarse ? 0 : MSG_DONTWAIT );
        if ( count >= 0 || ( errno != EAGAIN && errno != EINTR ) ) {
            return count;
        }
    }
}

void putBigEndian32( uint8_t *to, uint32_t value ) {
    to[ 0 ] = static_cast<uint8_t>( value >> 24 );
    to[ 1 ] = static_cast<uint8_t>( value >> 16 );
    to[ 2 ] = static_cast<uint8_t>( value >> 8 );
    to[ 3 ] = static_cast<uint8_t>( value );
}

uint32_t getBigEndian32( const uint8_t *from ) {
    return uint32_t{ from[ 0 ] } << 24 | uint32_t{ from[ 1 ] } << 16 | uint32_t{ from[ 2 ] } << 8 |
           uint32_t{ from[ 3 ] };
}

/** What receiveFrame found. */
struct ReceivedFrame {
    bool complete;      ///< false: errno is set
    size_t messageSize; ///< of the message after the header in the buffer
    bool surplus;       ///< more followed that nobody asked for
};

/** Reads one frame to the start of @p buffer, which grows to hold it. */
ReceivedFrame receiveFrame( int fd, std::vector<uint8_t> &buffer, Deadline &deadline ) {
    constexpr ReceivedFrame failure = { false, 0, false };
    size_t frameSize = headerSize; // until the header tells
    size_t have = 0;
    while ( have < frameSize ) {
        if ( buffer.size() < std::max( frameSize, usualFrameSize ) ) {
            buffer.resize( std::max( frameSize, usualFrameSize ) );
        }
        const ssize_t count =
            receiveSome( fd, buffer.data() + have, buffer.size() - have, deadline );
        if ( count <= 0 ) {
            const bool closed = count == 0 || errno == ECONNRESET;
            if ( closed ) {
                errno = have > 0 ? EBADMSG : ECONNRESET;
            }
            return failure;
        }
        const bool headerWasWhole = have >= headerSize;
        have += static_cast<size_t>( count );
        if ( !headerWasWhole && have >= headerSize ) {
            const uint32_t messageSize = getBigEndian32( buffer.data() );
            if ( messageSize > maxMessageSize ) {
                errno = EBADMSG;
                return failure;
            }
            frameSize = headerSize + messageSize;
        }
    }
    return { true, frameSize - headerSize, have > frameSize };
}

} // namespace

PLSocket::PLSocket() = default;

PLSocket::~PLSocket() {
    disconnect();
}

/** Keeps errno, so that failure paths may report what led to them. */
void PLSocket::disconnect() {
    const int error = errno;
    if ( watcher_ != 0 && pl_fd_watcher_delete ) {
        pl_fd_watcher_delete( watcher_ );
    }
    watcher_ = 0;
    if ( fd_ >= 0 ) {
        close( fd_ );
    }
    fd_ = -1;
    errno = error;
}

int PLSocket::setup() {
    if ( fd_ >= 0 ) {
        return 0;
    }
    timeout_ = timeoutFromEnvironment();
    Deadline deadline( timeout_ );
    fd_ = openConnection( timeout_, deadline );
    return fd_ >= 0 ? 0 : -1;
}

int PLSocket::sendRequestWait( const Smbus::TransactionRequest *request,
                               Smbus::TransactionResponse *reply ) {
    const auto closeConnection = []( PLSocket *socket ) { socket->disconnect(); };
    std::unique_ptr<PLSocket, decltype( closeConnection )> closeOnFailure( this, closeConnection );

    const size_t messageSize = request->ByteSizeLong();
    if ( messageSize > maxMessageSize ) {
        errno = EMSGSIZE;
        return -1;
    }
    if ( !request->IsInitialized() ) {
        errno = EINVAL;
        return -1;
    }
    const size_t frameSize = headerSize + messageSize;
    if ( sendBuffer_.size() < frameSize ) {
        sendBuffer_.resize( frameSize );
    }
    putBigEndian32( sendBuffer_.data(), static_cast<uint32_t>( messageSize ) );
    request->SerializeWithCachedSizesToArray( sendBuffer_.data() + headerSize );

    if ( fd_ >= 0 && !isInStep( fd_ ) ) {
        disconnect();
    }
    if ( fd_ < 0 ) {
        timeout_ = timeoutFromEnvironment();
    }
    Deadline deadline( timeout_ );

    for ( ;; ) {
        const bool isNew = fd_ < 0;
        if ( isNew ) {
            fd_ = openConnection( timeout_, deadline );
            if ( fd_ < 0 ) {
                return -1;
            }
        }
        size_t sent = 0;
        if ( sendFrame( fd_, sendBuffer_.data(), frameSize, deadline, sent ) ) {
            break;
        }
        // An old connection that was lost before a byte went out: try again on a new one. After a
        // byte went out the service may have acted on the transaction.
        const bool gone = errno == EPIPE || errno == ECONNRESET;
        if ( isNew || sent > 0 || !gone ) {
            return -1;
        }
        disconnect();
    }

    const ReceivedFrame frame = receiveFrame( fd_, receiveBuffer_, deadline );
    if ( !frame.complete ) {
        return -1;
    }
    if ( !reply->ParseFromArray( receiveBuffer_.data() + headerSize,
                                 static_cast<int>( frame.messageSize ) ) ) {
        errno = EBADMSG;
        return -1;
    }
    // The first reply is the right one; what follows it would be taken for the next call's.
    if ( !frame.surplus ) {
        static_cast<void>( closeOnFailure.release() );
    }
    return 0;
}

} // namespace PlatformLibrary
