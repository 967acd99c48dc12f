#pragma once

#include <cstdlib>
#include <functional>
#include <optional>
#include <string>

#include <pl/slot.h>

#include "tests/model/Bench.h"

namespace model {

/** What a model does for a presence query; @p fdl is left alone where there is none. */
using ModelPresence = std::function<int( std::optional<std::string> *fdl )>;

/** Asks a slot for its presence through the host's callback. */
template <class Model>
void askPresence( Bench &bench, pl_slot *slot, Model &model, const ModelPresence &modelled ) {
    bench.bothUnlessAborting(
        "getPresence", model,
        [ & ] {
            char *fdl = nullptr;
            const int status = slot->ops->get_presence( slot, &fdl );
            const std::string text = fdl ? fdl : "untouched";
            std::free( fdl );
            return std::to_string( status ) + " " + text;
        },
        [ & ] {
            bench.world.trace( 4, "getPresenceCallback(%p)", static_cast<void *>( slot ) );
            std::optional<std::string> fdl;
            const int status = modelled( &fdl );
            return std::to_string( status ) + " " + fdl.value_or( "untouched" );
        } );
}

} // namespace model
