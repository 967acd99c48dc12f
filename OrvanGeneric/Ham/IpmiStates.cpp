#include "OrvanGeneric/Ham/IpmiStates.h"

namespace Ham {

namespace {

using enum IpmiStateClass;
constexpr bool good = true;
constexpr bool bad = false;

// clang-format off
constexpr IpmiState states[] = {
    // Threshold, of a sensor without a reading of its own
    { Generic, 0x01, 0, "At or below Lower Non-critical", bad },
    { Generic, 0x01, 1, "At or below Lower Critical", bad },
    { Generic, 0x01, 2, "At or below Lower Non-recoverable", bad },
    { Generic, 0x01, 3, "At or above Upper Non-critical", bad },
    { Generic, 0x01, 4, "At or above Upper Critical", bad },
    { Generic, 0x01, 5, "At or above Upper Non-recoverable", bad },
    // Usage
    { Generic, 0x02, 0, "Transition to Idle", good },
    { Generic, 0x02, 1, "Transition to Active", good },
    { Generic, 0x02, 2, "Transition to Busy", good },
    // Digital: state
    { Generic, 0x03, 0, "State Deasserted", bad },
    { Generic, 0x03, 1, "State Asserted", good },
    // Digital: predictive failure
    { Generic, 0x04, 0, "Predictive Failure Deasserted", good },
    { Generic, 0x04, 1, "Predictive Failure Asserted", bad },
    // Digital: limit
    { Generic, 0x05, 0, "Limit Not Exceeded", good },
    { Generic, 0x05, 1, "Limit Exceeded", bad },
    // Digital: performance
    { Generic, 0x06, 0, "Performance Met", good },
    { Generic, 0x06, 1, "Performance Lags", bad },
    // Severity
    { Generic, 0x07, 0, "Transition to OK", good },
    { Generic, 0x07, 1, "Transition to Non-critical from OK", bad },
    { Generic, 0x07, 2, "Transition to Critical from less severe", bad },
    { Generic, 0x07, 3, "Transition to Non-recoverable from less severe", bad },
    { Generic, 0x07, 4, "Transition to Non-critical from more severe", bad },
    { Generic, 0x07, 5, "Transition to Critical from Non-recoverable", bad },
    { Generic, 0x07, 6, "Transition to Non-recoverable", bad },
    { Generic, 0x07, 7, "Monitor", good },
    { Generic, 0x07, 8, "Informational", good },
    // Presence
    { Generic, 0x08, 0, "Device Absent", bad },
    { Generic, 0x08, 1, "Device Present", good },
    // Enabling
    { Generic, 0x09, 0, "Device Disabled", bad },
    { Generic, 0x09, 1, "Device Enabled", good },
    // Availability
    { Generic, 0x0A, 0, "Transition to Running", good },
    { Generic, 0x0A, 1, "Transition to In Test", bad },
    { Generic, 0x0A, 2, "Transition to Power Off", bad },
    { Generic, 0x0A, 3, "Transition to On Line", good },
    { Generic, 0x0A, 4, "Transition to Off Line", bad },
    { Generic, 0x0A, 5, "Transition to Off Duty", bad },
    { Generic, 0x0A, 6, "Transition to Degraded", bad },
    { Generic, 0x0A, 7, "Transition to Power Save", good },
    { Generic, 0x0A, 8, "Install Error", bad },
    // Redundancy
    { Generic, 0x0B, 0, "Fully Redundant", good },
    { Generic, 0x0B, 1, "Redundancy Lost", bad },
    { Generic, 0x0B, 2, "Redundancy Degraded", bad },
    { Generic, 0x0B, 3, "Non-Redundant: Sufficient from Redundant", bad },
    { Generic, 0x0B, 4, "Non-Redundant: Sufficient from Insufficient", bad },
    { Generic, 0x0B, 5, "Non-Redundant: Insufficient Resources", bad },
    { Generic, 0x0B, 6, "Redundancy Degraded from Fully Redundant", bad },
    { Generic, 0x0B, 7, "Redundancy Degraded from Non-Redundant", bad },
    // Power state
    { Generic, 0x0C, 0, "D0 Power State", good },
    { Generic, 0x0C, 1, "D1 Power State", good },
    { Generic, 0x0C, 2, "D2 Power State", good },
    { Generic, 0x0C, 3, "D3 Power State", bad },
    // Physical security
    { Sensor, 0x05, 0, "General Chassis intrusion", bad },
    { Sensor, 0x05, 1, "Drive Bay intrusion", bad },
    { Sensor, 0x05, 2, "I/O Card area intrusion", bad },
    { Sensor, 0x05, 3, "Processor area intrusion", bad },
    { Sensor, 0x05, 4, "System unplugged from LAN", bad },
    { Sensor, 0x05, 5, "Unauthorized dock", bad },
    { Sensor, 0x05, 6, "FAN area intrusion", bad },
    // Platform security
    { Sensor, 0x06, 0, "Front Panel Lockout violation attempted", bad },
    { Sensor, 0x06, 1, "Pre-boot password violation - user password", bad },
    { Sensor, 0x06, 2, "Pre-boot password violation - setup password", bad },
    { Sensor, 0x06, 3, "Pre-boot password violation - network boot password", bad },
    { Sensor, 0x06, 4, "Other pre-boot password violation", bad },
    { Sensor, 0x06, 5, "Out-of-band access password violation", bad },
    // Processor
    { Sensor, 0x07, 0, "IERR", bad },
    { Sensor, 0x07, 1, "Thermal Trip", bad },
    { Sensor, 0x07, 2, "FRB1/BIST failure", bad },
    { Sensor, 0x07, 3, "FRB2/Hang in POST failure", bad },
    { Sensor, 0x07, 4, "FRB3/Processor startup/init failure", bad },
    { Sensor, 0x07, 5, "Configuration Error", bad },
    { Sensor, 0x07, 6, "SM BIOS Uncorrectable CPU-complex Error", bad },
    { Sensor, 0x07, 7, "Presence detected", good },
    { Sensor, 0x07, 8, "Disabled", bad },
    { Sensor, 0x07, 9, "Terminator presence detected", good },
    { Sensor, 0x07, 10, "Throttled", bad },
    { Sensor, 0x07, 11, "Uncorrectable machine check exception", bad },
    { Sensor, 0x07, 12, "Correctable machine check error", bad },
    // Power supply
    { Sensor, 0x08, 0, "Presence detected", good },
    { Sensor, 0x08, 1, "Failure detected", bad },
    { Sensor, 0x08, 2, "Predictive failure", bad },
    { Sensor, 0x08, 3, "Power Supply AC lost", bad },
    { Sensor, 0x08, 4, "AC lost or out-of-range", bad },
    { Sensor, 0x08, 5, "AC out-of-range, but present", bad },
    { Sensor, 0x08, 6, "Config Error", bad },
    { Sensor, 0x08, 7, "Power Supply Inactive", bad },
    // Power unit
    { Sensor, 0x09, 0, "Power off/down", bad },
    { Sensor, 0x09, 1, "Power cycle", bad },
    { Sensor, 0x09, 2, "240VA power down", bad },
    { Sensor, 0x09, 3, "Interlock power down", bad },
    { Sensor, 0x09, 4, "AC lost", bad },
    { Sensor, 0x09, 5, "Soft-power control failure", bad },
    { Sensor, 0x09, 6, "Failure detected", bad },
    { Sensor, 0x09, 7, "Predictive failure", bad },
    // Memory
    { Sensor, 0x0C, 0, "Correctable ECC", bad },
    { Sensor, 0x0C, 1, "Uncorrectable ECC", bad },
    { Sensor, 0x0C, 2, "Parity", bad },
    { Sensor, 0x0C, 3, "Memory Scrub Failed", bad },
    { Sensor, 0x0C, 4, "Memory Device Disabled", bad },
    { Sensor, 0x0C, 5, "Correctable ECC logging limit reached", bad },
    { Sensor, 0x0C, 6, "Presence Detected", good },
    { Sensor, 0x0C, 7, "Configuration Error", bad },
    { Sensor, 0x0C, 8, "Spare", good },
    { Sensor, 0x0C, 9, "Throttled", bad },
    { Sensor, 0x0C, 10, "Critical Overtemperature", bad },
    // Drive slot
    { Sensor, 0x0D, 0, "Drive Present", good },
    { Sensor, 0x0D, 1, "Drive Fault", bad },
    { Sensor, 0x0D, 2, "Predictive Failure", bad },
    { Sensor, 0x0D, 3, "Hot Spare", good },
    { Sensor, 0x0D, 4, "Parity Check In Progress", good },
    { Sensor, 0x0D, 5, "In Critical Array", bad },
    { Sensor, 0x0D, 6, "In Failed Array", bad },
    { Sensor, 0x0D, 7, "Rebuild In Progress", bad },
    { Sensor, 0x0D, 8, "Rebuild Aborted", bad },
    // System firmware
    { Sensor, 0x0F, 0, "Unknown Error", bad },
    { Sensor, 0x0F, 1, "Unknown Hang", bad },
    { Sensor, 0x0F, 2, "Unknown Progress", good },
    // Event log
    { Sensor, 0x10, 0, "Correctable memory error logging disabled", bad },
    { Sensor, 0x10, 1, "Event logging disabled", bad },
    { Sensor, 0x10, 2, "Log area reset/cleared", good },
    { Sensor, 0x10, 3, "All event logging disabled", bad },
    { Sensor, 0x10, 4, "Log full", bad },
    { Sensor, 0x10, 5, "Log almost full", bad },
    // Watchdog 1
    { Sensor, 0x11, 0, "BIOS Reset", bad },
    { Sensor, 0x11, 1, "OS Reset", bad },
    { Sensor, 0x11, 2, "OS Shut Down", bad },
    { Sensor, 0x11, 3, "OS Power Down", bad },
    { Sensor, 0x11, 4, "OS Power Cycle", bad },
    { Sensor, 0x11, 5, "OS NMI/Diag Interrupt", bad },
    { Sensor, 0x11, 6, "OS Expired", bad },
    { Sensor, 0x11, 7, "OS pre-timeout Interrupt", bad },
    // System event
    { Sensor, 0x12, 0, "System Reconfigured", good },
    { Sensor, 0x12, 1, "OEM System boot event", good },
    { Sensor, 0x12, 2, "Undetermined system hardware failure", bad },
    { Sensor, 0x12, 3, "Entry added to auxiliary log", good },
    { Sensor, 0x12, 4, "PEF Action", bad },
    { Sensor, 0x12, 5, "Timestamp Clock Sync", good },
    // Critical interrupt
    { Sensor, 0x13, 0, "NMI/Diag Interrupt", bad },
    { Sensor, 0x13, 1, "Bus Timeout", bad },
    { Sensor, 0x13, 2, "I/O Channel check NMI", bad },
    { Sensor, 0x13, 3, "Software NMI", bad },
    { Sensor, 0x13, 4, "PCI PERR", bad },
    { Sensor, 0x13, 5, "PCI SERR", bad },
    { Sensor, 0x13, 6, "EISA failsafe timeout", bad },
    { Sensor, 0x13, 7, "Bus Correctable error", bad },
    { Sensor, 0x13, 8, "Bus Uncorrectable error", bad },
    { Sensor, 0x13, 9, "Fatal NMI", bad },
    { Sensor, 0x13, 10, "Bus Fatal Error", bad },
    { Sensor, 0x13, 11, "Bus Degraded", bad },
    // Button
    { Sensor, 0x14, 0, "Power Button pressed", good },
    { Sensor, 0x14, 1, "Sleep Button pressed", good },
    { Sensor, 0x14, 2, "Reset Button pressed", good },
    { Sensor, 0x14, 3, "FRU Latch", bad },
    { Sensor, 0x14, 4, "FRU Service", bad },
    // Chip set
    { Sensor, 0x19, 0, "Soft Power Control Failure", bad },
    { Sensor, 0x19, 1, "Thermal Trip", bad },
    // Cable
    { Sensor, 0x1B, 0, "Connected", good },
    { Sensor, 0x1B, 1, "Config Error", bad },
    // System boot
    { Sensor, 0x1D, 0, "Initiated by power up", good },
    { Sensor, 0x1D, 1, "Initiated by hard reset", good },
    { Sensor, 0x1D, 2, "Initiated by warm reset", good },
    { Sensor, 0x1D, 3, "User requested PXE boot", good },
    { Sensor, 0x1D, 4, "Automatic boot to diagnostic", good },
    { Sensor, 0x1D, 5, "OS initiated hard reset", good },
    { Sensor, 0x1D, 6, "OS initiated warm reset", good },
    { Sensor, 0x1D, 7, "System Restart", good },
    // Boot error
    { Sensor, 0x1E, 0, "No bootable media", bad },
    { Sensor, 0x1E, 1, "Non-bootable disk in drive", bad },
    { Sensor, 0x1E, 2, "PXE server not found", bad },
    { Sensor, 0x1E, 3, "Invalid boot sector", bad },
    { Sensor, 0x1E, 4, "Timeout waiting for selection", bad },
    // Operating system boot
    { Sensor, 0x1F, 0, "A: boot completed", good },
    { Sensor, 0x1F, 1, "C: boot completed", good },
    { Sensor, 0x1F, 2, "PXE boot completed", good },
    { Sensor, 0x1F, 3, "Diagnostic boot completed", good },
    { Sensor, 0x1F, 4, "CD-ROM boot completed", good },
    { Sensor, 0x1F, 5, "ROM boot completed", good },
    { Sensor, 0x1F, 6, "boot completed - device not specified", good },
    { Sensor, 0x1F, 7, "Installation started", good },
    { Sensor, 0x1F, 8, "Installation completed", good },
    { Sensor, 0x1F, 9, "Installation aborted", bad },
    { Sensor, 0x1F, 10, "Installation failed", bad },
    // Operating system stop
    { Sensor, 0x20, 0, "Error during system startup", bad },
    { Sensor, 0x20, 1, "Run-time critical stop", bad },
    { Sensor, 0x20, 2, "OS graceful stop", bad },
    { Sensor, 0x20, 3, "OS graceful shutdown", bad },
    { Sensor, 0x20, 4, "PEF initiated soft shutdown", bad },
    { Sensor, 0x20, 5, "Agent not responding", bad },
    // Slot or connector
    { Sensor, 0x21, 0, "Fault Status", bad },
    { Sensor, 0x21, 1, "Identify Status", good },
    { Sensor, 0x21, 2, "Device Installed", good },
    { Sensor, 0x21, 3, "Ready for Device Installation", bad },
    { Sensor, 0x21, 4, "Ready for Device Removal", bad },
    { Sensor, 0x21, 5, "Slot Power is Off", bad },
    { Sensor, 0x21, 6, "Device Removal Request", bad },
    { Sensor, 0x21, 7, "Interlock", bad },
    { Sensor, 0x21, 8, "Slot is Disabled", bad },
    { Sensor, 0x21, 9, "Spare Device", good },
    // ACPI power state
    { Sensor, 0x22, 0, "S0/G0: working", good },
    { Sensor, 0x22, 1, "S1: sleeping with system hw & processor context maintained", bad },
    { Sensor, 0x22, 2, "S2: sleeping, processor context lost", bad },
    { Sensor, 0x22, 3, "S3: sleeping, processor & hw context lost, memory retained", bad },
    { Sensor, 0x22, 4, "S4: non-volatile sleep/suspend-to-disk", bad },
    { Sensor, 0x22, 5, "S5/G2: soft-off", bad },
    { Sensor, 0x22, 6, "S4/S5: soft-off", bad },
    { Sensor, 0x22, 7, "G3: mechanical off", bad },
    { Sensor, 0x22, 8, "Sleeping in S1/S2/S3 state", bad },
    { Sensor, 0x22, 9, "G1: sleeping", bad },
    { Sensor, 0x22, 10, "S5: entered by override", bad },
    { Sensor, 0x22, 11, "Legacy ON state", good },
    { Sensor, 0x22, 12, "Legacy OFF state", bad },
    { Sensor, 0x22, 14, "Unknown", bad },
    // Watchdog 2
    { Sensor, 0x23, 0, "Timer expired", bad },
    { Sensor, 0x23, 1, "Hard reset", bad },
    { Sensor, 0x23, 2, "Power down", bad },
    { Sensor, 0x23, 3, "Power cycle", bad },
    { Sensor, 0x23, 8, "Timer interrupt", bad },
    // Platform alert
    { Sensor, 0x24, 0, "Platform generated page", bad },
    { Sensor, 0x24, 1, "Platform generated LAN alert", bad },
    { Sensor, 0x24, 2, "Platform Event Trap generated", bad },
    { Sensor, 0x24, 3, "Platform generated SNMP trap, OEM format", bad },
    // Entity presence
    { Sensor, 0x25, 0, "Present", good },
    { Sensor, 0x25, 1, "Absent", bad },
    { Sensor, 0x25, 2, "Disabled", bad },
    // LAN
    { Sensor, 0x27, 0, "Heartbeat Lost", bad },
    { Sensor, 0x27, 1, "Heartbeat", good },
    // Management subsystem
    { Sensor, 0x28, 0, "Sensor access degraded or unavailable", bad },
    { Sensor, 0x28, 1, "Controller access degraded or unavailable", bad },
    { Sensor, 0x28, 2, "Management controller off-line", bad },
    { Sensor, 0x28, 3, "Management controller unavailable", bad },
    { Sensor, 0x28, 4, "Sensor failure", bad },
    { Sensor, 0x28, 5, "FRU failure", bad },
    // Battery
    { Sensor, 0x29, 0, "Low", bad },
    { Sensor, 0x29, 1, "Failed", bad },
    { Sensor, 0x29, 2, "Presence Detected", good },
    // Version change
    { Sensor, 0x2B, 0, "Hardware change detected", good },
    { Sensor, 0x2B, 1, "Firmware or software change detected", good },
    { Sensor, 0x2B, 2, "Hardware incompatibility detected", bad },
    { Sensor, 0x2B, 3, "Firmware or software incompatibility detected", bad },
    { Sensor, 0x2B, 4, "Invalid or unsupported hardware version", bad },
    { Sensor, 0x2B, 5, "Invalid or unsupported firmware or software version", bad },
    { Sensor, 0x2B, 6, "Hardware change success", good },
    { Sensor, 0x2B, 7, "Firmware or software change success", good },
    // FRU state
    { Sensor, 0x2C, 0, "Not Installed", bad },
    { Sensor, 0x2C, 1, "Inactive", bad },
    { Sensor, 0x2C, 2, "Activation Requested", bad },
    { Sensor, 0x2C, 3, "Activation in Progress", bad },
    { Sensor, 0x2C, 4, "Active", good },
    { Sensor, 0x2C, 5, "Deactivation Requested", bad },
    { Sensor, 0x2C, 6, "Deactivation in Progress", bad },
    { Sensor, 0x2C, 7, "Communication lost", bad },
    // FRU hot swap (PICMG): M4 is active
    { Sensor, 0xF0, 0, "Transition to M0", bad },
    { Sensor, 0xF0, 1, "Transition to M1", bad },
    { Sensor, 0xF0, 2, "Transition to M2", bad },
    { Sensor, 0xF0, 3, "Transition to M3", bad },
    { Sensor, 0xF0, 4, "Transition to M4", good },
    { Sensor, 0xF0, 5, "Transition to M5", bad },
    { Sensor, 0xF0, 6, "Transition to M6", bad },
    { Sensor, 0xF0, 7, "Transition to M7", bad },
    // IPMB link (PICMG)
    { Sensor, 0xF1, 0, "IPMB-A disabled, IPMB-B disabled", bad },
    { Sensor, 0xF1, 1, "IPMB-A enabled, IPMB-B disabled", bad },
    { Sensor, 0xF1, 2, "IPMB-A disabled, IPMB-B enabled", bad },
    { Sensor, 0xF1, 3, "IPMB-A enabled, IPMB-B enabled", good },
    // Module hot swap (PICMG)
    { Sensor, 0xF2, 0, "Module Handle Closed", good },
    { Sensor, 0xF2, 1, "Module Handle Opened", bad },
    { Sensor, 0xF2, 2, "Quiesced", bad },
};
// clang-format on

/** The longest text of the table that @p rest begins with and that ends there or at a comma. */
const IpmiState *leadingState( std::string_view rest ) {
    const IpmiState *longest = nullptr;
    for ( const IpmiState &state : states ) {
        const size_t size = state.text.size();
        if ( rest.substr( 0, size ) == state.text &&
             ( rest.size() == size || rest[ size ] == ',' ) &&
             ( !longest || size > longest->text.size() ) ) {
            longest = &state;
        }
    }
    return longest;
}

} // namespace

std::span<const IpmiState> ipmiStates() {
    return states;
}

bool allStatesGood( std::string_view rest ) {
    bool asserted = false;
    for ( ;; ) {
        const size_t begin = rest.find_first_not_of( ", \t" );
        if ( begin == std::string_view::npos ) {
            return asserted;
        }
        rest.remove_prefix( begin );
        const IpmiState *state = leadingState( rest );
        if ( !state || !state->good ) {
            return false;
        }
        asserted = true;
        rest.remove_prefix( state->text.size() );
    }
}

} // namespace Ham
