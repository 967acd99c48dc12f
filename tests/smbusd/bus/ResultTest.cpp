#include "smbusd/bus/Result.h"

#include <gtest/gtest.h>

namespace {

using smbusd::Outcome;
using smbusd::Result;

TEST( Result, EveryOutcomeHasItsText ) {
    const std::vector<std::pair<Outcome, std::string_view>> lines = {
        { Outcome::Done, "done" },
        { Outcome::AddressNack, "address not acknowledged" },
        { Outcome::ReadAddressNack, "address not acknowledged after the repeated start" },
        { Outcome::DataNack, "byte not acknowledged" },
        { Outcome::ArbitrationLost, "arbitration lost" },
        { Outcome::TimedOut, "timed out: the clock was held low" },
        { Outcome::BusStuck, "bus stuck: the data line is held low" },
        { Outcome::BadPec, "packet error code does not match" },
        { Outcome::BadBlock, "block count out of range" },
        { Outcome::Failed, "failed" },
        { Outcome::Dropped, "connection dropped by an injected fault" },
        { Outcome::Muted, "answer withheld by an injected fault" },
    };
    for ( const auto &[ outcome, text ] : lines ) {
        EXPECT_EQ( outcomeText( outcome ), text );
        EXPECT_EQ( ( Result{ outcome } ).text(), text );
    }
}

TEST( Result, ADetailSaysMoreThanTheOutcome ) {
    EXPECT_EQ( ( Result{ Outcome::Failed, {}, "no such device" } ).text(), "no such device" );
}

TEST( Result, OnlyWhatNoDeviceSawIsWithoutEffect ) {
    EXPECT_TRUE( Result{ Outcome::AddressNack }.withoutEffect() );
    EXPECT_TRUE( Result{ Outcome::ArbitrationLost }.withoutEffect() );
    for ( const Outcome outcome :
          { Outcome::Done, Outcome::ReadAddressNack, Outcome::DataNack, Outcome::TimedOut,
            Outcome::BusStuck, Outcome::BadPec, Outcome::BadBlock, Outcome::Failed,
            Outcome::Dropped, Outcome::Muted } ) {
        EXPECT_FALSE( Result{ outcome }.withoutEffect() ) << outcomeText( outcome );
    }
}

} // namespace
