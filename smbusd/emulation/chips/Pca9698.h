#pragma once

#include <memory>

#include "smbusd/emulation/chips/PinExpander.h"

namespace smbusd {

/**
 * PCA9698: forty I/O lines in five banks. Registers, one for each bank: input 0x00 to 0x04, output
 * 0x08, polarity inversion 0x10, configuration 0x18, interrupt mask 0x20; and output structure 0x28,
 * all-bank control 0x29 and mode 0x2A. The latter three and the masks can be written and read back,
 * but have no effect here.
 *
 * Bit 7 of the command switches auto-increment on: the register then moves on with each byte, from
 * the last bank to the first of the same kind. Without it every byte goes to the same register.
 */
class Pca9698 : public PinExpander {
  public:
    /** Makes one as hardware.json describes it. Throws ConfigError for what is wrong there. */
    static std::unique_ptr<Chip> create( ChipContext context, const ChipOptions &options );

    /** With its reset values, and nothing that drives its lines. */
    explicit Pca9698( ChipContext context );

    void reset() override;

  protected:
    std::optional<uint8_t> decode( uint8_t command ) override;
    uint8_t following( uint8_t reg ) const override;

  private:
    bool autoIncrement_ = false;
};

} // namespace smbusd
