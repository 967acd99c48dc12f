#include "tests/model/CageSteps.h"

#include <fmt/format.h>

namespace model {

namespace {

const CageLine sfpPresence{ "getPresence", 1, 0, false };
const CageLine sfpRxLos{ "getRxLos", 0, 1, false };
const CageLine sfpTxFault{ "getTxFault", 3, 3, false };
const CageLine sfpTxDisable{ "getTxDisable", 2, 2, false };
const CageLine setSfpTxDisable{ "setTxDisable", 2, 2, false };

const CageLine qsfpPresence{ "getPresence", 1, 2, false };
const CageLine qsfpInterrupt{ "getInterrupt", 2, 1, true };
const CageLine qsfpReset{ "getReset", 3, 0, true };
const CageLine setQsfpReset{ "setReset", 3, 0, true };
const CageLine qsfpLpMode{ "getLpMode", 0, 3, false };
const CageLine setQsfpLpMode{ "setLpMode", 0, 3, false };

/** The callbacks of one cage; each traces itself first. */
class Cage {
  public:
    Cage( Bench &bench, pl_xcvr *xcvr, const char *kind, const GetLine &get, const SetLine &set )
        : bench_( bench ), xcvr_( xcvr ), kind_( kind ), get_( get ), set_( set ) {}

    void presence( const CageLine &line, int ( *callback )( pl_xcvr * ) ) {
        bench_.act(
            named( line.name ), [ & ] { return callback( xcvr_ ); },
            [ & ] {
                traceGet( line.name );
                int value = 0;
                const int status = get_( line, kind_, &value );
                return status ? status : value;
            } );
    }
    void get( const CageLine &line, pl_status ( *callback )( pl_xcvr *, int * ) ) {
        bench_.get(
            named( line.name ), -77, [ & ]( int *value ) { return callback( xcvr_, value ); },
            [ & ]( int *value ) {
                traceGet( line.name );
                return get_( line, kind_, value );
            } );
    }
    void set( const CageLine &line, pl_status ( *callback )( pl_xcvr *, int ) ) {
        const int value = bench_.random.of( { 0, 0, 1, 1, 2, 256, -1 } );
        bench_.act(
            named( line.name ) + fmt::format( " to {}", value ),
            [ & ] { return callback( xcvr_, value ); },
            [ & ] {
                traceSet( line.name, value );
                return set_( line, kind_, value );
            } );
    }
    void getModSel( const ModSel &modSel ) {
        bench_.get(
            named( "getModSel" ), -77,
            [ & ]( int *value ) { return xcvr_->ops->u.qsfp.get_mod_sel( xcvr_, value ); },
            [ & ]( int * ) {
                traceGet( "getModSel" );
                return modSel( "getModSel" );
            } );
    }
    void setModSel( const ModSel &modSel ) {
        const int value = bench_.random.between( 0, 1 );
        bench_.act(
            named( "setModSel" ), [ & ] { return xcvr_->ops->u.qsfp.set_mod_sel( xcvr_, value ); },
            [ & ] {
                traceSet( "setModSel", value );
                return modSel( "setModSel" );
            } );
    }

  private:
    std::string named( const char *operation ) const {
        return fmt::format( "{} of cage {}", operation, xcvr_->id );
    }
    void traceGet( const char *operation ) {
        bench_.world.trace( 4, "%sCallback(%u)", operation, xcvr_->id );
    }
    void traceSet( const char *operation, int value ) {
        bench_.world.trace( 4, "%sCallback(%u, %d)", operation, xcvr_->id, value );
    }

    Bench &bench_;
    pl_xcvr *xcvr_;
    const char *kind_;
    const GetLine &get_;
    const SetLine &set_;
};

} // namespace

void useSfp( Bench &bench, pl_xcvr *xcvr, const GetLine &get, const SetLine &set ) {
    Cage cage( bench, xcvr, "Sfp", get, set );
    const pl_sfp_ops &ops = xcvr->ops->u.sfp;
    switch ( bench.random.below( 6 ) ) {
    case 0:
        return cage.presence( sfpPresence, ops.get_presence );
    case 1:
        return cage.get( sfpRxLos, ops.get_rx_los );
    case 2:
        return cage.get( sfpTxFault, ops.get_tx_fault );
    case 3:
        return cage.get( sfpTxDisable, ops.get_tx_disable );
    default:
        return cage.set( setSfpTxDisable, ops.set_tx_disable );
    }
}

void useQsfp( Bench &bench, pl_xcvr *xcvr, const GetLine &get, const SetLine &set,
              const ModSel &modSel ) {
    Cage cage( bench, xcvr, "Qsfp", get, set );
    const pl_qsfp_ops &ops = xcvr->ops->u.qsfp;
    switch ( bench.random.below( 9 ) ) {
    case 0:
        return cage.presence( qsfpPresence, ops.get_presence );
    case 1:
        return cage.get( qsfpInterrupt, ops.get_interrupt );
    case 2:
        return cage.get( qsfpReset, ops.get_reset );
    case 3:
        return cage.get( qsfpLpMode, ops.get_lp_mode );
    case 4:
        return cage.getModSel( modSel );
    case 5:
        return cage.setModSel( modSel );
    case 6:
        return cage.set( setQsfpLpMode, ops.set_lp_mode );
    default:
        return cage.set( setQsfpReset, ops.set_reset );
    }
}

} // namespace model
