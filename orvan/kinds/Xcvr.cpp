#include <pl/xcvr.h>

#include "orvan/kinds/Kind.h"

namespace orvan {

namespace {

const pl_qsfp_ops *qsfp( const pl_xcvr *xcvr ) {
    return &xcvr->ops->u.qsfp;
}
const pl_sfp_ops *sfp( const pl_xcvr *xcvr ) {
    return &xcvr->ops->u.sfp;
}

/** Before a cage is added its description tells the type, afterwards its record does. */
bool isQsfp( const Peripheral &peripheral ) {
    if ( peripheral.record ) {
        return static_cast<pl_xcvr *>( peripheral.record )->ops->type == PL_XCVR_TYPE_QSFP;
    }
    const auto &args = peripheral.description->args;
    const auto type = args.find( "type" );
    return type != args.end() && type->second.starts_with( "qsfp" );
}

template <typename Ops>
Value presenceOf( pl_xcvr *xcvr, const Ops *ops, int ( *Ops::*entry )( pl_xcvr * ) ) {
    if ( !offers( ops, entry ) ) {
        return Value::failed( PL_STATUS_UNSUPPORTED );
    }
    // The answer is the presence itself; anything else is a status.
    const int answer = ( ops->*entry )( xcvr );
    if ( answer == 0 || answer == 1 ) {
        return Value::of( static_cast<long long>( answer ) );
    }
    const bool isStatus = answer > 0 && answer <= PL_STATUS_FAILED;
    return Value::failed( isStatus ? static_cast<pl_status>( answer ) : PL_STATUS_FAILED );
}

Value type( Readout &readout ) {
    return Value::of( std::string( isQsfp( readout.peripheral() ) ? "qsfp" : "sfp" ) );
}

Value present( Readout &readout ) {
    auto *xcvr = readout.record<pl_xcvr>();
    return isQsfp( readout.peripheral() )
               ? presenceOf( xcvr, qsfp( xcvr ), &pl_qsfp_ops::get_presence )
               : presenceOf( xcvr, sfp( xcvr ), &pl_sfp_ops::get_presence );
}

template <auto entry>
Value sfpFlag( Readout &readout ) {
    auto *xcvr = readout.record<pl_xcvr>();
    int flag = 0;
    const pl_status status = call( sfp( xcvr ), entry, xcvr, &flag );
    return Value::answer( status, flag );
}

template <auto entry>
Value qsfpFlag( Readout &readout ) {
    auto *xcvr = readout.record<pl_xcvr>();
    int flag = 0;
    const pl_status status = call( qsfp( xcvr ), entry, xcvr, &flag );
    return Value::answer( status, flag );
}

pl_status setTxDisable( Peripheral &peripheral, const std::string &text ) {
    auto *xcvr = static_cast<pl_xcvr *>( peripheral.record );
    return call( sfp( xcvr ), &pl_sfp_ops::set_tx_disable, xcvr,
                 static_cast<int>( parseSwitch( text, "txdisable" ) ) );
}

template <auto entry>
pl_status setQsfp( Peripheral &peripheral, const std::string &text ) {
    auto *xcvr = static_cast<pl_xcvr *>( peripheral.record );
    return call( qsfp( xcvr ), entry, xcvr,
                 static_cast<int>( parseSwitch( text, "a line of a QSFP cage" ) ) );
}

constexpr const char *switchValues = "on, off, 1 or 0";

constexpr Reading sfpReadings[] = {
    { "type", "", 0, type },
    { "present", "", 0, present },
    { "los", "", 0, sfpFlag<&pl_sfp_ops::get_rx_los> },
    { "txfault", "", 0, sfpFlag<&pl_sfp_ops::get_tx_fault> },
    { "txdisable", "", 0, sfpFlag<&pl_sfp_ops::get_tx_disable> },
};
constexpr Reading qsfpReadings[] = {
    { "type", "", 0, type },
    { "present", "", 0, present },
    { "reset", "", 0, qsfpFlag<&pl_qsfp_ops::get_reset> },
    { "lpmode", "", 0, qsfpFlag<&pl_qsfp_ops::get_lp_mode> },
    { "modsel", "", 0, qsfpFlag<&pl_qsfp_ops::get_mod_sel> },
    { "interrupt", "", 0, qsfpFlag<&pl_qsfp_ops::get_interrupt> },
};
constexpr Setting sfpSettings[] = { { "txdisable", switchValues, setTxDisable } };
constexpr Setting qsfpSettings[] = {
    { "reset", switchValues, setQsfp<&pl_qsfp_ops::set_reset> },
    { "lpmode", switchValues, setQsfp<&pl_qsfp_ops::set_lp_mode> },
    { "modsel", switchValues, setQsfp<&pl_qsfp_ops::set_mod_sel> },
};

} // namespace

const Kind xcvrKind = {
    "xcvr",
    "pl_xcvr_init",
    "pl_xcvr_add",
    addDescribed<pl_xcvr>,
    []( const Peripheral &peripheral ) -> std::span<const Reading> {
        return isQsfp( peripheral ) ? std::span<const Reading>( qsfpReadings ) : sfpReadings;
    },
    []( const Peripheral &peripheral ) -> std::span<const Setting> {
        return isQsfp( peripheral ) ? std::span<const Setting>( qsfpSettings ) : sfpSettings;
    },
};

} // namespace orvan
