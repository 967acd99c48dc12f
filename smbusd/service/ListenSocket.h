#pragma once

#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "common/Descriptor.h"

namespace smbusd {

/** Why a socket cannot be listened on. */
class ListenError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/**
 * A listening UNIX socket and its file.
 *
 * The file gets its mode before anyone can connect. A file left behind by a service that is gone
 * is replaced; one on which somebody listens, or which is no socket, is refused. Two services that
 * start at the same time on one path cannot both succeed.
 */
class ListenSocket {
  public:
    /** Binds and listens. Throws ListenError. */
    ListenSocket( const std::string &path, mode_t mode );
    /** Takes over a socket that the service manager listens on already; its file stays its own. */
    explicit ListenSocket( int inherited );
    /** Closes the socket unless it was released, and removes the file if it is still this one's. */
    ~ListenSocket();
    ListenSocket( const ListenSocket & ) = delete;
    ListenSocket &operator=( const ListenSocket & ) = delete;

    /** Hands the descriptor over; the file is still removed at the end. */
    int release();
    /** What it listens on, for messages. */
    const std::string &path() const { return path_; }

  private:
    void listen( mode_t mode );

    std::string path_;
    common::Descriptor socket_;
    bool ownsFile_ = false;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

/** Sockets handed over by the service manager (the LISTEN_* variables); -1 for none. */
struct InheritedSockets {
    int service = -1; ///< for the clients
    int control = -1; ///< for the control tool
};

/**
 * Reads the environment that a service manager leaves: the first socket is the service's, the
 * second, or the one called "control" in LISTEN_FDNAMES, is the control socket. Throws ListenError
 * when a descriptor is not a listening UNIX stream socket.
 */
InheritedSockets inheritedSockets();

} // namespace smbusd
