#include "OrvanGeneric/Components/Xcvr.h"

#include <cassert>
#include <string>

#include "OrvanGeneric/Components/AddDevice.h"
#include "OrvanGeneric/HostServices.h"

namespace Component::LogicalDevice {

// What the host expects on 32-bit x86: tables of one size for both types.
static_assert( sizeof( void * ) != 4 ||
               ( sizeof( pl_xcvr ) == 12 && sizeof( pl_xcvr_ops ) == 44 &&
                 sizeof( pl_sfp_ops ) == 24 && sizeof( pl_qsfp_ops ) == 36 ) );

const pl_xcvr_ops SfpXcvr::ops_ = {
    .size = sizeof( pl_xcvr_ops ),
    .type = PL_XCVR_TYPE_SFP,
    .u = { .sfp = { sizeof( pl_sfp_ops ), getPresenceCallback, getTxFaultCallback, getRxLosCallback,
                    getTxDisableCallback, setTxDisableCallback } },
};

const pl_xcvr_ops QsfpXcvr::ops_ = {
    .size = sizeof( pl_xcvr_ops ),
    .type = PL_XCVR_TYPE_QSFP,
    .u = { .qsfp = { sizeof( pl_qsfp_ops ), getPresenceCallback, getModSelCallback,
                     setModSelCallback, getLpModeCallback, setLpModeCallback, getResetCallback,
                     setResetCallback, getInterruptCallback } },
};

int SfpXcvr::getPresenceCallback( pl_xcvr *xcvr ) {
    TRACE( 4, "%s(%u)", "getPresenceCallback", xcvr->id );
    return objectOf<SfpXcvr>( xcvr )->getPresence();
}

pl_status SfpXcvr::getTxFaultCallback( pl_xcvr *xcvr, int *fault ) {
    TRACE( 4, "%s(%u)", "getTxFaultCallback", xcvr->id );
    return objectOf<SfpXcvr>( xcvr )->getTxFault( fault );
}

pl_status SfpXcvr::getRxLosCallback( pl_xcvr *xcvr, int *los ) {
    TRACE( 4, "%s(%u)", "getRxLosCallback", xcvr->id );
    return objectOf<SfpXcvr>( xcvr )->getRxLos( los );
}

pl_status SfpXcvr::getTxDisableCallback( pl_xcvr *xcvr, int *disabled ) {
    TRACE( 4, "%s(%u)", "getTxDisableCallback", xcvr->id );
    return objectOf<SfpXcvr>( xcvr )->getTxDisable( disabled );
}

pl_status SfpXcvr::setTxDisableCallback( pl_xcvr *xcvr, int disable ) {
    TRACE( 4, "%s(%u, %d)", "setTxDisableCallback", xcvr->id, disable );
    return objectOf<SfpXcvr>( xcvr )->setTxDisable( disable );
}

int QsfpXcvr::getPresenceCallback( pl_xcvr *xcvr ) {
    TRACE( 4, "%s(%u)", "getPresenceCallback", xcvr->id );
    return objectOf<QsfpXcvr>( xcvr )->getPresence();
}

pl_status QsfpXcvr::getModSelCallback( pl_xcvr *xcvr, int *selected ) {
    TRACE( 4, "%s(%u)", "getModSelCallback", xcvr->id );
    return objectOf<QsfpXcvr>( xcvr )->getModSel( selected );
}

pl_status QsfpXcvr::setModSelCallback( pl_xcvr *xcvr, int select ) {
    TRACE( 4, "%s(%u, %d)", "setModSelCallback", xcvr->id, select );
    return objectOf<QsfpXcvr>( xcvr )->setModSel( select );
}

pl_status QsfpXcvr::getLpModeCallback( pl_xcvr *xcvr, int *lowPower ) {
    TRACE( 4, "%s(%u)", "getLpModeCallback", xcvr->id );
    return objectOf<QsfpXcvr>( xcvr )->getLpMode( lowPower );
}

pl_status QsfpXcvr::setLpModeCallback( pl_xcvr *xcvr, int lowPower ) {
    TRACE( 4, "%s(%u, %d)", "setLpModeCallback", xcvr->id, lowPower );
    return objectOf<QsfpXcvr>( xcvr )->setLpMode( lowPower );
}

pl_status QsfpXcvr::getResetCallback( pl_xcvr *xcvr, int *inReset ) {
    TRACE( 4, "%s(%u)", "getResetCallback", xcvr->id );
    return objectOf<QsfpXcvr>( xcvr )->getReset( inReset );
}

pl_status QsfpXcvr::setResetCallback( pl_xcvr *xcvr, int reset ) {
    TRACE( 4, "%s(%u, %d)", "setResetCallback", xcvr->id, reset );
    return objectOf<QsfpXcvr>( xcvr )->setReset( reset );
}

pl_status QsfpXcvr::getInterruptCallback( pl_xcvr *xcvr, int *pending ) {
    TRACE( 4, "%s(%u)", "getInterruptCallback", xcvr->id );
    return objectOf<QsfpXcvr>( xcvr )->getInterrupt( pending );
}

} // namespace Component::LogicalDevice

namespace {

/** A required argument of a transceiver; traces and aborts when @p args lack it. */
const std::string &argument( const Drivers::DriverArgs &args, const char *name ) {
    const std::string *value = Drivers::optionalArg( args, name );
    if ( !value ) {
        TRACE( 0, "No %s argument given for Xcvr", name );
        assert( false );
    }
    return *value;
}

} // namespace

extern "C" pl_xcvr *pl_xcvr_add( const char *description ) {
    using namespace Component;
    DriverArgs args;
    DeviceBase *device = orTrace( DeviceBase::create( description, args ), "DeviceBase::create" );
    if ( !device ) {
        return nullptr;
    }
    const auto port = static_cast<unsigned int>( std::stoi( argument( args, "id" ) ) );
    const std::string &type = argument( args, "type" );
    if ( type == "qsfp" || type == "qsfp+" ) {
        return recordOf( orTrace( device->newQsfpXcvr( port, args ), "newQsfpXcvr" ) );
    }
    if ( type == "sfp" || type == "sfp+" ) {
        return recordOf( orTrace( device->newSfpXcvr( port, args ), "newSfpXcvr" ) );
    }
    TRACE( 0, "Xcvr type %s not supported", type.c_str() );
    assert( false );
}
