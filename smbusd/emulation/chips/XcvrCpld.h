#pragma once

#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "smbusd/emulation/chips/RegisterFile.h"

namespace smbusd {

/**
 * A CPLD with the low-speed lines of sixteen cages, all of one kind: registers 1 to 4, of 16 bits,
 * high byte first; each holds four ports, the first one in its highest nibble.
 *
 * A nibble's bits, from the lowest: for SFP receive loss of signal, presence, transmit disable and
 * transmit fault; for QSFP low-power mode, presence, interrupt and reset, the latter two active low.
 * What the CPLD drives (transmit disable; low-power mode and reset) can be written and read back;
 * the other bits of a written word are ignored. After power-on modules transmit, are out of reset
 * and at full power.
 *
 * The inputs are the modules' lines, 1 when asserted: "present1", "los1" and "txfault1" to 16, or
 * "present1" and "interrupt1" to 16. The cages are empty at first, and nothing gives light.
 */
class XcvrCpld : public RegisterFile {
  public:
    /** A line that modules drive. */
    struct Line {
        std::string_view name;  ///< of the inputs, before the port's number
        unsigned bit;           ///< in the port's nibble
        bool activeLow;         ///< asserted is 0
        bool assertedWhenEmpty; ///< what an empty cage shows
    };
    /** What differs between cages. */
    struct Layout {
        std::span<const Line> lines; ///< those that modules drive
        unsigned outputs;            ///< bits of a nibble that the CPLD drives
        unsigned reset;              ///< which of them are 1 after power-on
    };

    /** Makes one as hardware.json describes it. Throws ConfigError for what is wrong there. */
    static std::unique_ptr<Chip> create( ChipContext context, const ChipOptions &options );

    /** With its reset values and all cages empty. @param cages  its lines outlive the chip */
    XcvrCpld( ChipContext context, const Layout &cages );

    bool start( bool read ) override;
    bool write( uint8_t byte ) override;

    std::vector<RegisterInfo> registers() const override;
    RegisterContent peek( uint32_t reg ) const override;
    /** Also drives the modules' lines, so that the register reads like this. */
    void poke( uint32_t reg, const RegisterContent &content ) override;
    std::vector<InputInfo> inputs() const override;
    void setInput( std::string_view input, double value ) override;

  protected:
    uint32_t valueOf( uint32_t reg ) const override;

  private:
    const Layout cages_;
    std::array<uint32_t, 5> fromModules_{}; ///< by register number
    bool awaitsCommand_ = false;
};

} // namespace smbusd
