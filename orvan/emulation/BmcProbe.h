/**
 * @file
 * Finding out whether a BMC is there.
 */
#pragma once

#include <chrono>
#include <cstdint>

namespace orvan {

/** A UDP and a TCP port of the loopback that nobody uses now. */
uint16_t freeUdpPort();
uint16_t freeTcpPort();

/** A conversation with a BMC on a UDP port of the loopback, as far as to see that it answers. */
class BmcProbe {
  public:
    explicit BmcProbe( uint16_t port );
    ~BmcProbe();
    BmcProbe( const BmcProbe & ) = delete;
    BmcProbe &operator=( const BmcProbe & ) = delete;

    /** Asks what authentication there is, which a BMC answers without a session. */
    void ask() const;
    /** Becomes readable when there is an answer, or word that nobody listens. */
    int descriptor() const { return fd_; }
    /** Takes what has come. @return whether it was an answer */
    bool answered() const;

  private:
    int fd_;
};

} // namespace orvan
