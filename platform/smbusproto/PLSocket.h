#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "smbus.pb.h"

namespace PlatformLibrary {

/**
 * The client's end of the connection to the SMBus service: a UNIX stream socket on which each
 * transaction is one length-prefixed message and gets one reply, in order.
 *
 * The service's address is the path in the environment variable "PL_SMBUS_SOCKET", otherwise
 * /run/smbusd.sock. Not locked: for one thread at a time.
 */
class PLSocket {
  public:
    PLSocket();
    /** Deletes the watcher (if the host offers that), closes the descriptor. */
    ~PLSocket();
    PLSocket( const PLSocket & ) = delete;
    PLSocket &operator=( const PLSocket & ) = delete;

    /** Connects. @return 0 on success, otherwise non-zero with errno set. */
    int setup();

    /**
     * Sends one transaction and waits for its reply.
     *
     * Returns within the deadline: 10 s, or "PL_SMBUS_TIMEOUT_MS" from the environment (ETIMEDOUT).
     * After any failure the connection is closed, since a late reply must never be taken for the
     * next one's; the next call connects again. A transaction of which any byte may have reached
     * the service is never sent twice; one that finds the old connection already closed is sent
     * once on a new one.
     *
     * @param request  the transaction; at most 1 MiB on the wire (EMSGSIZE)
     * @param reply    receives the reply; its content after a failure is not defined
     * @return 0 on success; negative on failure with errno set: EBADMSG for a reply that is too
     *         long, truncated or not a message
     */
    int sendRequestWait( const Smbus::TransactionRequest *request,
                         Smbus::TransactionResponse *reply );

  private:
    int fd_ = -1;
    uint32_t watcher_ = 0;
    std::vector<uint8_t> sendBuffer_;
    std::vector<uint8_t> receiveBuffer_;
};

} // namespace PlatformLibrary
