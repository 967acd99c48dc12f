#include "smbusd/linux/AdapterFailure.h"

#include <cerrno>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/OperationOf.h"

namespace {

using smbusd::Outcome;
using Kind = smbusd::Operation::Kind;

TEST( AdapterFailure, NamesErrorNumbers ) {
    EXPECT_EQ( smbusd::errorText( ENXIO ), "ENXIO (No such device or address)" );
    EXPECT_EQ( smbusd::errorText( 100000 ), "error 100000" );
}

TEST( AdapterFailure, ErrorsOfTheKernelKeepTheirMeaning ) {
    struct Case {
        int error;
        Kind kind;
        Outcome outcome;
        const char *text;
    };
    const std::vector<Case> cases = {
        { EAGAIN, Kind::WriteByte, Outcome::ArbitrationLost,
          "arbitration lost: EAGAIN (Resource temporarily unavailable)" },
        { ETIMEDOUT, Kind::ReadByte, Outcome::TimedOut,
          "timed out: ETIMEDOUT (Connection timed out)" },
        { EBADMSG, Kind::ReadByte, Outcome::BadPec,
          "packet error code does not match: EBADMSG (Bad message)" },
        { EPROTO, Kind::BlockRead, Outcome::BadBlock,
          "block count out of range: EPROTO (Protocol error)" },
        { EBUSY, Kind::ReadByte, Outcome::Failed,
          "the bus is busy: EBUSY (Device or resource busy)" },
        { EOPNOTSUPP, Kind::ProcessCall, Outcome::Failed,
          "the adapter refuses it: EOPNOTSUPP (Operation not supported)" },
        { EIO, Kind::ReadByte, Outcome::Failed, "EIO (Input/output error)" },
        { ENODEV, Kind::ReadByte, Outcome::Failed, "ENODEV (No such device)" },
    };
    for ( const Case &c : cases ) {
        const auto result = smbusd::adapterFailure( test::operationOf( c.kind, 1 ), c.error );
        EXPECT_EQ( result.outcome, c.outcome ) << c.text;
        EXPECT_EQ( result.text(), c.text );
    }
}

TEST( AdapterFailure, OnlyReadsAreRepeatedAfterAMissingAcknowledge ) {
    // Of i801 and piix4 it may be any byte's: a device may have taken data before it refused more.
    for ( const int error : { ENXIO, EREMOTEIO } ) {
        for ( const Kind kind : { Kind::ReceiveByte, Kind::ReadByte, Kind::ReadWord,
                                  Kind::I2cBlockRead, Kind::BlockRead } ) {
            const auto result = smbusd::adapterFailure( test::operationOf( kind, 1 ), error );
            EXPECT_TRUE( result.withoutEffect() ) << smbusd::kindName( kind );
            EXPECT_EQ( result.text(), "no acknowledge: " + smbusd::errorText( error ) );
        }
        for ( const Kind kind : { Kind::SendByte, Kind::WriteByte, Kind::WriteWord,
                                  Kind::I2cBlockWrite, Kind::BlockWrite, Kind::ProcessCall } ) {
            const auto result = smbusd::adapterFailure( test::operationOf( kind, 1 ), error );
            EXPECT_EQ( result.outcome, Outcome::DataNack ) << smbusd::kindName( kind );
            EXPECT_FALSE( result.withoutEffect() );
            EXPECT_EQ( result.text(), "no acknowledge: " + smbusd::errorText( error ) );
        }
    }
    EXPECT_TRUE(
        smbusd::adapterFailure( test::operationOf( Kind::WriteByte, 1 ), EAGAIN ).withoutEffect() );
}

} // namespace
