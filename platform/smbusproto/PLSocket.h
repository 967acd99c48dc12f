#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include <smbus.pb.h>

namespace PlatformLibrary {

/**
 * The client's end of the connection to the SMBus service: a UNIX stream socket on which each
 * transaction is one length-prefixed message and gets one reply, in order.
 *
 * The service's address is the path in the environment variable "PL_SMBUS_SOCKET", otherwise
 * /run/smbusd.sock. The deadline of every operation is "PL_SMBUS_TIMEOUT_MS" from the environment,
 * a decimal number of milliseconds from 1 to 2147483647, otherwise 10 s. Both are read whenever
 * a connection is made; empty or malformed text counts as absent.
 *
 * Not locked: for one thread at a time. Once the buffers have grown to the largest messages in use,
 * a transaction allocates nothing.
 */
class PLSocket {
  public:
    /** Not connected: descriptor -1, no watcher, empty buffers. */
    PLSocket();
    /** Deletes the watcher (if the host offers that), closes the descriptor, frees the buffers. */
    ~PLSocket();
    PLSocket( const PLSocket & ) = delete;
    PLSocket &operator=( const PLSocket & ) = delete;

    /**
     * Connects, within the deadline; does nothing when connected already.
     *
     * @return 0 on success, otherwise non-zero with errno set: that of socket(2) or connect(2),
     *         ENAMETOOLONG for a path that no socket can have, ETIMEDOUT
     */
    int setup();

    /**
     * Sends one transaction and waits for its reply, connecting first if need be.
     *
     * One deadline covers connecting, sending and receiving, and SIGPIPE is never raised.
     * After any failure the connection is closed, since a late reply must never be taken for the
     * next one's; the next call connects again. A transaction of which any byte may have reached
     * the service is never sent twice; one that finds the old connection already closed, or out of
     * step (unread bytes on it), is sent once on a new one.
     *
     * @param request  the transaction, all required fields set; at most 1 MiB on the wire
     * @param reply    receives the reply; its content after a failure is not defined
     * @return 0 on success; negative on failure with errno set:
     *         ETIMEDOUT   no whole reply within the deadline
     *         EBADMSG     a reply that is longer than 1 MiB, truncated or not a message
     *         ECONNRESET, EPIPE  the service closed the connection and did not begin a reply
     *         EINVAL, EMSGSIZE   incomplete or too long a request; nothing was sent
     *         or one of setup()'s
     */
    int sendRequestWait( const Smbus::TransactionRequest *request,
                         Smbus::TransactionResponse *reply );

    /** The connection's descriptor for a host's event loop to watch, -1 when not connected. */
    int descriptor() const { return fd_; }

    /**
     * Hands over the host's watcher of descriptor(), 0 for none. It is deleted (if the host offers
     * that) before the descriptor is closed; a new connection starts without one.
     */
    void watcherIs( uint32_t watcher ) { watcher_ = watcher; }

  private:
    void disconnect();

    int fd_ = -1;
    uint32_t watcher_ = 0;
    std::chrono::milliseconds timeout_{ 0 };
    std::vector<uint8_t> sendBuffer_;
    std::vector<uint8_t> receiveBuffer_;
};

} // namespace PlatformLibrary
