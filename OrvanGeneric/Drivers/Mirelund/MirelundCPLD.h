#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "OrvanGeneric/Components/PollingDevice.h"
#include "OrvanGeneric/Drivers/Mirelund/NibbleXcvr.h"

namespace Drivers {

/**
 * A transceiver CPLD: the low-speed lines of sixteen cages, four to each of its 16-bit registers.
 *
 * The registers are polled once a second, in one transaction; every read of a port is answered from
 * what the last good poll brought, so a failed poll changes nothing that the host sees. The CPLD
 * sends and takes words high byte first. It takes no driver arguments.
 */
class MireXcvrCPLD : public Component::PollingDevice<Component::HardwareDevice> {
  public:
    /** What the cages of this chip share. */
    using XcvrHelper = Drivers::XcvrHelper<MireXcvrCPLD>;
    /** An SFP cage of this chip. */
    using SfpXcvr = NibbleSfpXcvr<MireXcvrCPLD>;
    /** A QSFP cage of this chip. */
    using QsfpXcvr = NibbleQsfpXcvr<MireXcvrCPLD>;

    /** The layout of an SFP port's nibble. */
    static constexpr SfpLines sfpLines = {
        .presence = { 1, false, "getSfpPresence", nullptr },
        .rxLos = { 0, false, "getSfpRxLos", nullptr },
        .txFault = { 3, false, "getSfpTxFault", nullptr },
        .txDisable = { 2, false, "getSfpTxDisable", "setSfpTxDisable" },
    };
    /** The layout of a QSFP port's nibble. */
    static constexpr QsfpLines qsfpLines = {
        .presence = { 1, false, "getQsfpPresence", nullptr },
        .modSel = { 0, false, "getQsfpModSel", "setQsfpModSel" },
        .lpMode = { 0, false, "getQsfpLpMode", "setQsfpLpMode" },
        .reset = { 3, true, "getQsfpReset", "setQsfpReset" },
        .interrupt = { 2, true, "getQsfpInterrupt", nullptr },
    };

    /**
     * Reads the registers once and starts polling; aborts on "pollStart()" when the host has no
     * timer for that. @return 0; when polling already ran, 1 if the registers could be read, else 0
     */
    int init() override;
    /** @param id  1 to 48; three CPLDs share them, so the ids 16 apart name the same lines */
    Component::LogicalDevice::SfpXcvr *newSfpXcvr( unsigned int id,
                                                   const DriverArgs &args ) override;
    bool pollCallback() override;

    /**
     * One bit of a register, as last polled; @p refresh reads the register first.
     * @param bit  of the value in host order
     * @return the Ham's status; @p out is set on success only
     */
    pl_status getRegisterBit( uint8_t reg, uint8_t bit, int *out, bool refresh );
    /**
     * Writes a register with one bit changed, the others as last polled; @p refresh reads it first.
     * The new value is remembered once the CPLD took it. @return the Ham's status
     */
    pl_status setRegisterBit( uint8_t reg, uint8_t bit, int value, bool refresh );
    /** Negates @p value, if @p status is success. @return @p status */
    static pl_status activeLow( pl_status status, int *value );

    /** The ports' access to their bits: from memory alone, or with one word write. */
    pl_status readLine( uint8_t reg, uint8_t bit, int *out ) {
        return getRegisterBit( reg, bit, out, false );
    }
    /** Writes through, for the ports. */
    pl_status writeLine( uint8_t reg, uint8_t bit, bool value ) {
        return setRegisterBit( reg, bit, value ? 1 : 0, false );
    }

  protected:
    /** Puts the CPLD's registers before those that are polled. */
    void pollPortRegisters();

  private:
    bool updateRegisterCache();
    pl_status refreshRegister( uint8_t reg );

    /** Last known value of each register, in host order; 0 for one that was never read. */
    std::array<uint16_t, 256> registerCache_{};
    std::vector<uint8_t> pollList_;
};

/** The CPLD of boards with SFP and QSFP ports. */
class MirelundQCPLD : public MireXcvrCPLD {
  public:
    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );
    int init() override;
    /** @param id  1 to 32; two CPLDs share them, so the ids 16 apart name the same lines */
    Component::LogicalDevice::QsfpXcvr *newQsfpXcvr( unsigned int id,
                                                     const DriverArgs &args ) override;
    const Utils::ExpectedValues *expectedValues() override;
};

/** The CPLD of the Y boards: SFP ports only. */
class MirelundYCPLD : public MireXcvrCPLD {
  public:
    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );
    int init() override;
};

/** The CPLD of the Z boards: SFP ports only. No description can name it yet. */
class MirelundZCPLD : public MireXcvrCPLD {
  public:
    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );
    int init() override;
};

} // namespace Drivers
