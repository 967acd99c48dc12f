#pragma once

#include "smbusd/emulation/chips/RegisterFile.h"

namespace smbusd {

/**
 * A CPLD that drives the front panel's port LEDs: twelve registers of eight lines, all of which can
 * be written and read back. Ten hold LEDs, a set bit being a lit one; registers 6 and 7 let those of
 * the ports through to the panel. After power-on the LED registers hold the lamp test, all lit, and
 * nothing is let through.
 */
class LedCpld : public RegisterFile {
  public:
    /** Makes one as hardware.json describes it. Throws ConfigError for what is wrong there. */
    static std::unique_ptr<Chip> create( ChipContext context, const ChipOptions &options );

    /** With its reset values. */
    explicit LedCpld( ChipContext context );

    std::vector<RegisterInfo> registers() const override;
};

} // namespace smbusd
