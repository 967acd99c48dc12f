#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace smbusd {

/** How an attempt of an operation ended. */
enum class Outcome {
    Done,            ///< all of it took place
    AddressNack,     ///< no acknowledge after the START: nothing has happened
    ReadAddressNack, ///< no acknowledge after the repeated START: the register was written
    DataNack,        ///< no acknowledge of a byte after the address
    ArbitrationLost, ///< another master was faster: nothing has happened
    TimedOut,        ///< the clock was held low for too long
    BusStuck,        ///< the data line was low before the START
    BadPec,          ///< the packet error code was wrong, on a read or a write
    BadBlock,        ///< a block whose count cannot be
    Failed,          ///< what a kernel adapter reports besides; the detail says it
    Dropped,         ///< the connection is to be closed without an answer
    Muted,           ///< no answer is to be sent
};

/** @return for people, for example "address not acknowledged" */
std::string_view outcomeText( Outcome outcome );

/** What came of an attempt. */
struct Result {
    Outcome outcome = Outcome::Done; ///< how the attempt ended
    std::string data = {};           ///< what a read brought
    std::string detail = {};         ///< more than the outcome's own text, or empty

    /** Whether the operation had no effect at all, so that it may be attempted again. */
    bool withoutEffect() const {
        return outcome == Outcome::AddressNack || outcome == Outcome::ArbitrationLost;
    }
    /** The detail, or the outcome's own text. */
    std::string text() const {
        return detail.empty() ? std::string( outcomeText( outcome ) ) : detail;
    }
};

} // namespace smbusd
