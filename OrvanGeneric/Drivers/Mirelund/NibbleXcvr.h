#pragma once

#include <pl/types.h>

#include "OrvanGeneric/Components/Xcvr.h"
#include "OrvanGeneric/Drivers/Mirelund/XcvrHelper.h"

namespace Drivers {

/**
 * An SFP cage whose lines are one nibble of a chip: what the CPLDs and the expanders have in common.
 *
 * @tparam Chip  the driver: what XcvrHelper asks of it, and `sfpLines`, the layout of the nibble
 */
template <class Chip>
class NibbleSfpXcvr : public Component::LogicalDevice::SfpXcvr, public XcvrHelper<Chip> {
  public:
    /**
     * @param id    the port's number as the host knows it
     * @param chip  not owned; outlives the cage
     * @param port  where the nibble is
     */
    NibbleSfpXcvr( unsigned int id, Chip *chip, const XcvrPort &port )
        : SfpXcvr( id ), XcvrHelper<Chip>( chip, port ) {}

    int getPresence() override { return this->presence( Chip::sfpLines.presence ); }
    pl_status getTxFault( int *fault ) override {
        return this->get( Chip::sfpLines.txFault, fault );
    }
    pl_status getRxLos( int *los ) override { return this->get( Chip::sfpLines.rxLos, los ); }
    pl_status getTxDisable( int *disabled ) override {
        return this->get( Chip::sfpLines.txDisable, disabled );
    }
    pl_status setTxDisable( int disable ) override {
        return this->set( Chip::sfpLines.txDisable, disable );
    }
};

/**
 * A QSFP cage whose lines are one nibble of a chip.
 *
 * @tparam Chip  the driver: what XcvrHelper asks of it, and `qsfpLines`, the layout of the nibble
 */
template <class Chip>
class NibbleQsfpXcvr : public Component::LogicalDevice::QsfpXcvr, public XcvrHelper<Chip> {
  public:
    /**
     * @param id    the port's number as the host knows it
     * @param chip  not owned; outlives the cage
     * @param port  where the nibble is
     */
    NibbleQsfpXcvr( unsigned int id, Chip *chip, const XcvrPort &port )
        : QsfpXcvr( id ), XcvrHelper<Chip>( chip, port ) {}

    int getPresence() override { return this->presence( Chip::qsfpLines.presence ); }
    /** Not wired: leaves @p selected alone and reports success. */
    pl_status getModSel( int * /*selected*/ ) override {
        this->trace( Chip::qsfpLines.modSel.getter );
        return PL_STATUS_OK;
    }
    /** Not wired: does nothing and reports success. */
    pl_status setModSel( int /*select*/ ) override {
        this->trace( Chip::qsfpLines.modSel.setter );
        return PL_STATUS_OK;
    }
    pl_status getLpMode( int *lowPower ) override {
        return this->get( Chip::qsfpLines.lpMode, lowPower );
    }
    pl_status setLpMode( int lowPower ) override {
        return this->set( Chip::qsfpLines.lpMode, lowPower );
    }
    pl_status getReset( int *inReset ) override {
        return this->get( Chip::qsfpLines.reset, inReset );
    }
    pl_status setReset( int reset ) override { return this->set( Chip::qsfpLines.reset, reset ); }
    pl_status getInterrupt( int *pending ) override {
        return this->get( Chip::qsfpLines.interrupt, pending );
    }
};

} // namespace Drivers
