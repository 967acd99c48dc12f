#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace smbusd {

/** How an attempt of an operation ended. */
enum class Outcome {
    Done,
    AddressNack,     ///< no acknowledge behind the START: nothing has happened
    ReadAddressNack, ///< no acknowledge behind the repeated START: the register was written
    DataNack,
    ArbitrationLost,
    TimedOut,
    BusStuck,
    BadPec,
    BadBlock, ///< a block whose count cannot be
    Failed,   ///< what a kernel adapter reports besides; the detail says it
    Dropped,  ///< the connection is to be closed without an answer
    Muted,    ///< no answer is to be sent
};

std::string_view outcomeText( Outcome outcome );

/** What came of an attempt. */
struct Result {
    Outcome outcome = Outcome::Done;
    std::string data = {};   ///< what a read brought
    std::string detail = {}; ///< more than the outcome's own text, or empty

    /** Whether the operation had no effect at all, so that it may be attempted again. */
    bool withoutEffect() const {
        return outcome == Outcome::AddressNack || outcome == Outcome::ArbitrationLost;
    }
    std::string text() const {
        return detail.empty() ? std::string( outcomeText( outcome ) ) : detail;
    }
};

} // namespace smbusd
