/**
 * @file
 * A simulated BMC for the length of one run.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>

#include "common/Descriptor.h"
#include "common/TemporaryFolder.h"

namespace orvan {

/** The simulated BMC to start, and the programs that make it. */
struct BmcOptions {
    std::filesystem::path board;            ///< its folder "bmc" describes the BMC
    std::string simulator = "ipmi_sim";     ///< OpenIPMI's simulator
    std::string sensorCompiler = "sdrcomp"; ///< OpenIPMI's compiler of sensor data records
    std::chrono::milliseconds startLimit{
        10000 }; ///< a BMC that does not answer by then has failed
};

/**
 * OpenIPMI's simulator on two free ports of the loopback: one for IPMI over LAN, one for its console.
 *
 * The board's folder "bmc" has "lan.conf" (with $LAN_PORT and $CONSOLE_PORT in the ports' places, and
 * the name "bmc"), "bmc.emu", what the simulator starts with, and "bmc.sdrs", the sensors. The
 * simulator works on a copy of the folder. It ends with the object or, should the process die before,
 * with the process, and leaves nothing behind.
 */
class BmcEmulation {
  public:
    /** Whether the board's folder @p board has a simulated BMC, that is, a folder "bmc". */
    static bool isDescribedIn( const std::filesystem::path &board );

    /** Returns once the BMC answers. Throws BadInput when it does not come up. */
    explicit BmcEmulation( const BmcOptions &options );
    ~BmcEmulation();
    BmcEmulation( const BmcEmulation & ) = delete;
    BmcEmulation &operator=( const BmcEmulation & ) = delete;

    /** The UDP port of 127.0.0.1 on which it answers IPMI over LAN. */
    uint16_t port() const { return port_; }
    /** The TCP port of 127.0.0.1 for the simulator's console, which changes its sensors. */
    uint16_t console() const { return console_; }

  private:
    void copyFiles( const BmcOptions &options ) const;
    void compileSensors( const BmcOptions &options ) const;
    void choosePorts();
    void start( const BmcOptions &options );
    /** @return whether the BMC answers; false when the simulator has ended */
    bool awaitAnswer( const BmcOptions &options );
    /** What the simulator has printed, on one line. */
    std::string complaint() const;
    void end();

    std::optional<common::TemporaryFolder> folder_;
    uint16_t port_ = 0;
    uint16_t console_ = 0;
    pid_t keeper_ = -1;
    common::Descriptor lifeline_; ///< the keeper ends the simulator when its other end closes
    common::Descriptor news_;     ///< closes when the simulator ends
};

} // namespace orvan
