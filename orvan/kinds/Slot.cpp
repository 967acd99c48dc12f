#include "orvan/kinds/Kind.h"

#include <pl/slot.h>

#include <cstdlib>
#include <memory>

namespace orvan {

namespace {

/** Asks once for presence and field data: the answer's text is the field data. */
const Value &fieldData( Readout &readout ) {
    return readout.once( "fdl", [ &readout ] {
        auto *slot = readout.record<pl_slot>();
        char *text = nullptr;
        const pl_status status = call( slot->ops, &pl_slot_ops::get_presence, slot, &text );
        const std::unique_ptr<char, decltype( &std::free )> owner( text, &std::free );
        if ( status != PL_STATUS_OK ) {
            return Value::failed( status );
        }
        return text ? Value::of( std::string( text ) ) : Value();
    } );
}

Value present( Readout &readout ) {
    const pl_status status = fieldData( readout ).status;
    if ( status != PL_STATUS_OK && status != PL_STATUS_NOT_PRESENT ) {
        return Value::failed( status );
    }
    return Value::of( static_cast<long long>( status == PL_STATUS_OK ) );
}

Value fdl( Readout &readout ) {
    const Value &value = fieldData( readout );
    return value.status == PL_STATUS_NOT_PRESENT ? Value() : value;
}

constexpr Reading readings[] = { { "present", "", 0, present }, { "fdl", "", 0, fdl } };

} // namespace

const Kind slotKind = {
    "slot",
    "pl_slot_init",
    "pl_slot_add",
    addDescribed<pl_slot>,
    []( const Peripheral & ) -> std::span<const Reading> { return readings; },
    noSettings,
};

} // namespace orvan
