/**
 * @file
 * Finding out whether a BMC is there.
 */
#pragma once

#include <chrono>
#include <cstdint>

namespace orvan {

/**
 * A UDP port of the loopback, in host byte order, that nobody uses now; another process may still take
 * it. Throws BadInput when there is none.
 */
uint16_t freeUdpPort();
/** The same for a TCP port. */
uint16_t freeTcpPort();

/** A conversation with a BMC on a UDP port of the loopback, as far as to see that it answers. */
class BmcProbe {
  public:
    /** Will ask the BMC at @p port of 127.0.0.1. Throws BadInput when no socket can be opened. */
    explicit BmcProbe( uint16_t port );
    ~BmcProbe();
    BmcProbe( const BmcProbe & ) = delete;
    BmcProbe &operator=( const BmcProbe & ) = delete;

    /**
     * Sends one Get Channel Authentication Capabilities request (IPMI 2.0, section 22.13), which a BMC
     * answers without a session. Does not wait; a request that cannot be sent is dropped.
     */
    void ask() const;
    /**
     * The socket, owned by this object, for poll(). Readable when there is an answer, or the message that
     * nobody listens.
     */
    int descriptor() const { return fd_; }
    /** Takes what has come, without waiting. @return whether it was an answer */
    bool answered() const;

  private:
    int fd_;
};

} // namespace orvan
