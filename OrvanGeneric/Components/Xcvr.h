#pragma once

#include <pl/xcvr.h>

namespace Component::LogicalDevice {

/** An SFP cage. Outputs are 0 or 1; 1 always means that the signal is asserted. */
class SfpXcvr {
  public:
    /** @param id  the port's number, as the traces print it */
    explicit SfpXcvr( unsigned int id ) : record_{ id, &ops_, this } {}
    virtual ~SfpXcvr() = default;
    SfpXcvr( const SfpXcvr & ) = delete;
    SfpXcvr &operator=( const SfpXcvr & ) = delete;

    /** 1: a module is present; 0: none; a failure gives its status, which is not 0 either. */
    virtual int getPresence() = 0;
    virtual pl_status getTxFault( int *fault ) = 0;
    virtual pl_status getRxLos( int *los ) = 0;
    virtual pl_status getTxDisable( int *disabled ) = 0;
    virtual pl_status setTxDisable( int disable ) = 0;

    /** What the host gets. */
    pl_xcvr *record() { return &record_; }

    static int getPresenceCallback( pl_xcvr *xcvr );
    static pl_status getTxFaultCallback( pl_xcvr *xcvr, int *fault );
    static pl_status getRxLosCallback( pl_xcvr *xcvr, int *los );
    static pl_status getTxDisableCallback( pl_xcvr *xcvr, int *disabled );
    static pl_status setTxDisableCallback( pl_xcvr *xcvr, int disable );
    static const pl_xcvr_ops ops_;

  private:
    pl_xcvr record_;
};

/** A QSFP cage. Outputs are 0 or 1; 1 always means that the signal is asserted. */
class QsfpXcvr {
  public:
    /** @param id  the port's number, as the traces print it */
    explicit QsfpXcvr( unsigned int id ) : record_{ id, &ops_, this } {}
    virtual ~QsfpXcvr() = default;
    QsfpXcvr( const QsfpXcvr & ) = delete;
    QsfpXcvr &operator=( const QsfpXcvr & ) = delete;

    /** As SfpXcvr::getPresence. */
    virtual int getPresence() = 0;
    virtual pl_status getModSel( int *selected ) = 0;
    virtual pl_status setModSel( int select ) = 0;
    virtual pl_status getLpMode( int *lowPower ) = 0;
    virtual pl_status setLpMode( int lowPower ) = 0;
    virtual pl_status getReset( int *inReset ) = 0;
    virtual pl_status setReset( int reset ) = 0;
    virtual pl_status getInterrupt( int *pending ) = 0;

    /** What the host gets. */
    pl_xcvr *record() { return &record_; }

    static int getPresenceCallback( pl_xcvr *xcvr );
    static pl_status getModSelCallback( pl_xcvr *xcvr, int *selected );
    static pl_status setModSelCallback( pl_xcvr *xcvr, int select );
    static pl_status getLpModeCallback( pl_xcvr *xcvr, int *lowPower );
    static pl_status setLpModeCallback( pl_xcvr *xcvr, int lowPower );
    static pl_status getResetCallback( pl_xcvr *xcvr, int *inReset );
    static pl_status setResetCallback( pl_xcvr *xcvr, int reset );
    static pl_status getInterruptCallback( pl_xcvr *xcvr, int *pending );
    static const pl_xcvr_ops ops_;

  private:
    pl_xcvr record_;
};

} // namespace Component::LogicalDevice
