#pragma once

#include "OrvanGeneric/Drivers/Mirelund/XcvrExpander.h"

namespace Drivers {

/**
 * A PCA9698 40-bit expander that carries the lines of eight cages on four of its five banks. It is
 * set up for SFP cages: transmit disable is an output, all else inputs.
 */
class MirelundPCA9698 : public GPIOExpander, public XcvrExpander {
  public:
    MirelundPCA9698();

    /** Writes the pins' directions. */
    int init() override;
    const Utils::ExpectedValues *expectedValues() override;

  protected:
    /** Gives the pins of every bank the directions @p directions: a 1 bit is an input. */
    pl_status configureBanks( uint8_t directions );
};

/** Eight of the SFP ports 1 to 48. */
class MirelundSFP : public MirelundPCA9698 {
  public:
    /** With the argument "type" as "gpio", a device that has only its register bits to offer. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );
    Component::LogicalDevice::SfpXcvr *newSfpXcvr( unsigned int id,
                                                   const DriverArgs &args ) override;
};

/**
 * The QSFP ports 49 to 56 of the Y boards. The pins keep the directions of SFP cages there, so reset
 * and low-power mode do not reach the module.
 */
class MireYQSFP : public MirelundPCA9698 {
  public:
    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );
    Component::LogicalDevice::QsfpXcvr *newQsfpXcvr( unsigned int id,
                                                     const DriverArgs &args ) override;
};

/** The QSFP ports 49 to 56 of the Z boards. No description can name it yet. */
class MireZQSFP : public MirelundPCA9698 {
  public:
    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );
    /** Writes the pins' directions: reset and low-power mode are outputs. */
    int init() override;
    Component::LogicalDevice::QsfpXcvr *newQsfpXcvr( unsigned int id,
                                                     const DriverArgs &args ) override;
};

} // namespace Drivers
