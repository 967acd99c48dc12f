#include "smbusd/linux/LinuxAdapter.h"

#include <cerrno>

#include <gtest/gtest.h>

namespace {

using smbusd::Operation;
using smbusd::Outcome;
using smbusd::Result;
using Kind = smbusd::Operation::Kind;

Operation operationOf( Kind kind, uint32_t reg ) {
    Operation operation;
    operation.kind = kind;
    operation.address = 0x58;
    operation.reg = reg;
    return operation;
}

TEST( LinuxAdapter, ADeviceFileThatIsNotThereFailsTheOperation ) {
    const auto access = smbusd::openAdapter( "/dev/i2c-none" );
    const Result result = access->perform( operationOf( Kind::ReadByte, 1 ) );
    EXPECT_EQ( result.outcome, Outcome::Failed );
    EXPECT_EQ( result.text(), "/dev/i2c-none: No such file or directory" );
    EXPECT_FALSE( result.withoutEffect() );
}

TEST( LinuxAdapter, ADeviceFileThatIsNoAdapterFailsTheOperation ) {
    const auto access = smbusd::openAdapter( "/dev/null" );
    const Result result = access->perform( operationOf( Kind::ReadByte, 1 ) );
    EXPECT_EQ( result.outcome, Outcome::Failed );
    EXPECT_EQ( result.text(), "Inappropriate ioctl for device" );
}

TEST( LinuxAdapter, ErrorsOfTheKernelKeepTheirMeaning ) {
    struct Case {
        int error;
        Kind kind;
        Outcome outcome;
        bool withoutEffect;
        const char *text;
    };
    const std::vector<Case> cases = {
        { ENXIO, Kind::WriteByte, Outcome::AddressNack, true, "address not acknowledged" },
        { ENXIO, Kind::ReadWord, Outcome::AddressNack, true, "address not acknowledged" },
        { ENXIO, Kind::ProcessCall, Outcome::ReadAddressNack, false,
          "no acknowledge: No such device or address" },
        { EREMOTEIO, Kind::ReceiveByte, Outcome::AddressNack, true, "address not acknowledged" },
        { EREMOTEIO, Kind::SendByte, Outcome::DataNack, false, "no acknowledge: Remote I/O error" },
        { EREMOTEIO, Kind::WriteByte, Outcome::DataNack, false,
          "no acknowledge: Remote I/O error" },
        { EAGAIN, Kind::WriteByte, Outcome::ArbitrationLost, true, "arbitration lost" },
        { ETIMEDOUT, Kind::ReadByte, Outcome::TimedOut, false, "timed out: Connection timed out" },
        { EBADMSG, Kind::ReadByte, Outcome::BadPec, false, "packet error code does not match" },
        { EPROTO, Kind::BlockRead, Outcome::BadBlock, false, "block count out of range" },
        { EBUSY, Kind::ReadByte, Outcome::Failed, false,
          "a driver of the kernel uses the device: Device or resource busy" },
        { EIO, Kind::ReadByte, Outcome::Failed, false, "Input/output error" },
    };
    for ( const Case &c : cases ) {
        const Result result = smbusd::adapterFailure( operationOf( c.kind, 1 ), c.error );
        EXPECT_EQ( result.outcome, c.outcome ) << c.error;
        EXPECT_EQ( result.withoutEffect(), c.withoutEffect ) << c.error;
        EXPECT_EQ( result.text(), c.text );
    }
}

} // namespace
