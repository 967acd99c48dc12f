#pragma once

#include "OrvanGeneric/Drivers/GenericPCA9555.h"
#include "OrvanGeneric/Drivers/Mirelund/XcvrExpander.h"

namespace Drivers {

/** A PCA9555 16-bit expander that carries the lines of four cages. */
class MireSPCA9555 : public GenericPCA9555, public XcvrExpander {
  public:
    /** @param directions  of the two banks' pins: a 1 bit is an input */
    explicit MireSPCA9555( const uint8_t *directions );

    /** Writes the pins' directions. */
    int init() override;
    const Utils::ExpectedValues *expectedValues() override;
};

/**
 * Four of the QSFP ports 49 to 54.
 *
 * Arguments (decimal, required): "bank-io-0", "bank-io-1", the directions of each bank's pins.
 */
class MireSQSFP : public MireSPCA9555 {
  public:
    using MireSPCA9555::MireSPCA9555;

    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );
    Component::LogicalDevice::QsfpXcvr *newQsfpXcvr( unsigned int id,
                                                     const DriverArgs &args ) override;
};

} // namespace Drivers
