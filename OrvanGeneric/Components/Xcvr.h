#pragma once

#include <pl/xcvr.h>

namespace Component::LogicalDevice {

/**
 * An SFP cage. Outputs and settings are 0 or 1; 1 always means that the signal is asserted, whatever
 * its level on the board. Operations return PL_STATUS_OK, otherwise the failed access's status; an
 * output is set on success only. The order of the virtual operations is fixed.
 */
class SfpXcvr {
  public:
    /**
     * Fills the record: this class's callbacks, the way back to this object.
     * @param id  the port's number, as the traces print it
     */
    explicit SfpXcvr( unsigned int id ) : record_{ id, &ops_, this } {}
    virtual ~SfpXcvr() = default;
    SfpXcvr( const SfpXcvr & ) = delete;
    SfpXcvr &operator=( const SfpXcvr & ) = delete;

    /** @return 1: a module is present; 0: none; a failure gives its status, which is not 0 either */
    virtual int getPresence() = 0;
    /** Reads TX_FAULT: the module reports a fault of its transmitter. */
    virtual pl_status getTxFault( int *fault ) = 0;
    /** Reads RX_LOS: the module receives no signal. */
    virtual pl_status getRxLos( int *los ) = 0;
    /** Reads back TX_DISABLE: the module's transmitter is switched off. */
    virtual pl_status getTxDisable( int *disabled ) = 0;
    /** Drives TX_DISABLE. @param disable  0: transmitter on, otherwise off */
    virtual pl_status setTxDisable( int disable ) = 0;

    /** What the host gets; part of this object. */
    pl_xcvr *record() { return &record_; }

    /** The host's get_presence: traces, then getPresence(). */
    static int getPresenceCallback( pl_xcvr *xcvr );
    /** The host's get_tx_fault: traces, then getTxFault(). */
    static pl_status getTxFaultCallback( pl_xcvr *xcvr, int *fault );
    /** The host's get_rx_los: traces, then getRxLos(). */
    static pl_status getRxLosCallback( pl_xcvr *xcvr, int *los );
    /** The host's get_tx_disable: traces, then getTxDisable(). */
    static pl_status getTxDisableCallback( pl_xcvr *xcvr, int *disabled );
    /** The host's set_tx_disable: traces, then setTxDisable(). */
    static pl_status setTxDisableCallback( pl_xcvr *xcvr, int disable );
    /** The callbacks of every SFP cage, for the host's records; the entries of QSFP cages are empty. */
    static const pl_xcvr_ops ops_;

  private:
    pl_xcvr record_;
};

/** A QSFP cage; the rest as for SfpXcvr. */
class QsfpXcvr {
  public:
    /**
     * Fills the record: this class's callbacks, the way back to this object.
     * @param id  the port's number, as the traces print it
     */
    explicit QsfpXcvr( unsigned int id ) : record_{ id, &ops_, this } {}
    virtual ~QsfpXcvr() = default;
    QsfpXcvr( const QsfpXcvr & ) = delete;
    QsfpXcvr &operator=( const QsfpXcvr & ) = delete;

    /** @return 1: a module is present; 0: none; a failure gives its status, which is not 0 either */
    virtual int getPresence() = 0;
    /** Reads back ModSelL: the module answers on its two-wire bus. */
    virtual pl_status getModSel( int *selected ) = 0;
    /** Drives ModSelL. @param select  0: the module ignores its bus, otherwise it answers */
    virtual pl_status setModSel( int select ) = 0;
    /** Reads back LPMode: the module is held in low power. */
    virtual pl_status getLpMode( int *lowPower ) = 0;
    /** Drives LPMode. @param lowPower  0: full power, otherwise low power */
    virtual pl_status setLpMode( int lowPower ) = 0;
    /** Reads back ResetL: the module is held in reset. */
    virtual pl_status getReset( int *inReset ) = 0;
    /** Drives ResetL. @param reset  0: released, otherwise held in reset */
    virtual pl_status setReset( int reset ) = 0;
    /** Reads IntL: the module asks for attention. */
    virtual pl_status getInterrupt( int *pending ) = 0;

    /** What the host gets; part of this object. */
    pl_xcvr *record() { return &record_; }

    /** The host's get_presence: traces, then getPresence(). */
    static int getPresenceCallback( pl_xcvr *xcvr );
    /** The host's get_mod_sel: traces, then getModSel(). */
    static pl_status getModSelCallback( pl_xcvr *xcvr, int *selected );
    /** The host's set_mod_sel: traces, then setModSel(). */
    static pl_status setModSelCallback( pl_xcvr *xcvr, int select );
    /** The host's get_lp_mode: traces, then getLpMode(). */
    static pl_status getLpModeCallback( pl_xcvr *xcvr, int *lowPower );
    /** The host's set_lp_mode: traces, then setLpMode(). */
    static pl_status setLpModeCallback( pl_xcvr *xcvr, int lowPower );
    /** The host's get_reset: traces, then getReset(). */
    static pl_status getResetCallback( pl_xcvr *xcvr, int *inReset );
    /** The host's set_reset: traces, then setReset(). */
    static pl_status setResetCallback( pl_xcvr *xcvr, int reset );
    /** The host's get_interrupt: traces, then getInterrupt(). */
    static pl_status getInterruptCallback( pl_xcvr *xcvr, int *pending );
    /** The callbacks of every QSFP cage, for the host's records. */
    static const pl_xcvr_ops ops_;

  private:
    pl_xcvr record_;
};

} // namespace Component::LogicalDevice
