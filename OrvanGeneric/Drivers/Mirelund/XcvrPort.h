#pragma once

#include <cstdint>

#include <pl/types.h>

#include "OrvanGeneric/Components/Xcvr.h"
#include "OrvanGeneric/HostServices.h"

namespace Drivers {

/** One low-speed line of a cage: where it sits in the port's nibble, and how it is read. */
struct XcvrLine {
    uint8_t offset;     ///< bit within the nibble
    bool activeLow;     ///< the chip's bit is 0 while the signal is asserted
    const char *getter; ///< names of the operations in traces
    const char *setter; ///< null for a line that is only read
};

/** The lines of an SFP cage. */
struct SfpLines {
    XcvrLine presence;  ///< a module is in
    XcvrLine rxLos;     ///< the receiver has lost its signal
    XcvrLine txFault;   ///< the transmitter reports a fault
    XcvrLine txDisable; ///< the transmitter is switched off
};

/** The lines of a QSFP cage. Module select is wired on none of these boards: only its names count. */
struct QsfpLines {
    XcvrLine presence;  ///< a module is in
    XcvrLine modSel;    ///< the module listens on its two-wire interface
    XcvrLine lpMode;    ///< low-power mode
    XcvrLine reset;     ///< the module is held in reset
    XcvrLine interrupt; ///< the module asks for attention
};

/** Where a port's nibble is. */
struct XcvrPort {
    uint8_t id;      ///< zero-based number, as traces print it
    uint8_t place;   ///< the register or bank that holds the nibble
    uint8_t baseBit; ///< the nibble's lowest bit
};

/**
 * The part of a port's logical device that knows its nibble.
 *
 * @tparam Chip  the driver: has readLine( place, bit, int * ), writeLine( place, bit, bool ) and
 *               activeLow( status, int * )
 */
template <class Chip>
class XcvrHelper {
  protected:
    /** @param chip  not owned; outlives the port */
    XcvrHelper( Chip *chip, const XcvrPort &port ) : chip_( chip ), port_( port ) {}

    /** 1 or 0; a failing status as it is. */
    int presence( const XcvrLine &line ) const {
        int value = 0;
        const pl_status status = get( line, &value );
        return status != PL_STATUS_OK ? static_cast<int>( status ) : value;
    }
    /** Whether a signal is asserted, 1 or 0; @p value is set on success only. */
    pl_status get( const XcvrLine &line, int *value ) const {
        trace( line.getter );
        const pl_status status = chip_->readLine( port_.place, bit( line ), value );
        return line.activeLow ? Chip::activeLow( status, value ) : status;
    }
    /** Asserts a signal, or with 0 withdraws it. */
    pl_status set( const XcvrLine &line, int value ) const {
        trace( line.setter );
        return chip_->writeLine( port_.place, bit( line ), ( value != 0 ) != line.activeLow );
    }
    /** Traces an operation with the port's number, at level 5. */
    void trace( const char *operation ) const { TRACE( 5, "%s(): id=%hhu", operation, port_.id ); }

  private:
    uint8_t bit( const XcvrLine &line ) const {
        return static_cast<uint8_t>( port_.baseBit + line.offset );
    }

    Chip *chip_;
    XcvrPort port_;
};

/** An SFP cage on one nibble of @p Chip, whose sfpLines tell the nibble's layout. */
template <class Chip>
class NibbleSfpXcvr : public Component::LogicalDevice::SfpXcvr, public XcvrHelper<Chip> {
  public:
    /** @param id  the port's number as the host knows it */
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

/** A QSFP cage on one nibble of @p Chip, whose qsfpLines tell the nibble's layout. */
template <class Chip>
class NibbleQsfpXcvr : public Component::LogicalDevice::QsfpXcvr, public XcvrHelper<Chip> {
  public:
    /** @param id  the port's number as the host knows it */
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
