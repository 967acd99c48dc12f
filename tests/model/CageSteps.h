#pragma once

#include <functional>
#include <string>

#include <pl/xcvr.h>

#include "tests/model/Bench.h"

namespace model {

/** A readable or settable line of a cage. */
struct CageLine {
    const char *name; ///< of the operation: "getTxFault"
    int cpldOffset;   ///< in the cage's nibble on a CPLD
    int pinOffset;    ///< in the cage's nibble on an expander
    bool isActiveLow;
};

/** What the cage's model does for a line; @p kind is "Sfp" or "Qsfp". */
using GetLine = std::function<int( const CageLine &line, const char *kind, int *value )>;
using SetLine = std::function<int( const CageLine &line, const char *kind, int value )>;
/** What it does for module select. */
using ModSel = std::function<int( const char *name )>;

/** Calls one of the host's callbacks of a cage at random. */
void useSfp( Bench &bench, pl_xcvr *xcvr, const GetLine &get, const SetLine &set );
void useQsfp( Bench &bench, pl_xcvr *xcvr, const GetLine &get, const SetLine &set,
              const ModSel &modSel );

} // namespace model
