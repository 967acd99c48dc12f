#pragma once

#include <memory>

#include "smbusd/emulation/chips/PinExpander.h"

namespace smbusd {

/**
 * PCA9555: sixteen I/O lines in two banks. Registers, each a pair: input 0/1, output 2/3, polarity
 * inversion 4/5, configuration 6/7. Within a pair the register alternates with each byte.
 */
class Pca9555 : public PinExpander {
  public:
    /** Makes one as hardware.json describes it. Throws ConfigError for what is wrong there. */
    static std::unique_ptr<Chip> create( ChipContext context, const ChipOptions &options );

    /** With its reset values, and nothing that drives its lines. */
    explicit Pca9555( ChipContext context );

  protected:
    std::optional<uint8_t> decode( uint8_t command ) override;
    uint8_t following( uint8_t reg ) const override;
};

} // namespace smbusd
