/**
 * @file
 * A private SMBus service on emulated hardware, for the length of one run.
 */
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>

#include "common/Child.h"
#include "common/Descriptor.h"
#include "common/TemporaryFolder.h"

namespace orvan {

/** The private service to start. */
struct EmulationOptions {
    std::string service;            ///< the service's program
    std::filesystem::path hardware; ///< its configuration: the emulated hardware
    std::string socket;             ///< where it listens; empty: in a private folder
    std::string control;            ///< its control socket; empty: the socket's path and ".control"
    std::string logLevel = "warning"; ///< what it logs on standard error
    std::chrono::milliseconds startLimit{
        10000 }; ///< a service that does not listen by then has failed
    std::chrono::milliseconds endLimit{ 2000 }; ///< a service that does not end by then is killed
};

/**
 * Starts the service and ends it again: on destruction, on SIGINT, SIGTERM, SIGHUP, SIGPIPE and
 * SIGABRT, and, should nothing of that be possible any more, by the kernel when this process dies.
 * At most one may live at a time.
 */
class Emulation {
  public:
    /** Returns once the service listens. Throws BadInput when it does not come up. */
    explicit Emulation( const EmulationOptions &options );
    ~Emulation();
    Emulation( const Emulation & ) = delete;
    Emulation &operator=( const Emulation & ) = delete;

    /** The path of the UNIX socket on which the service listens. */
    const std::string &socket() const { return socket_; }
    /** The service's process. This object ends it. */
    pid_t pid() const { return service_.pid(); }

  private:
    void start( const EmulationOptions &options, const common::Descriptor &ready );
    void awaitReady( const EmulationOptions &options, const common::Descriptor &ready );
    void end();

    std::optional<common::TemporaryFolder> folder_; // private; none when the socket's path is given
    std::string socket_;
    std::string control_;
    common::Child service_;
};

/** True when something accepts connections on the UNIX socket @p path. */
bool accepts( const std::string &path );

} // namespace orvan
