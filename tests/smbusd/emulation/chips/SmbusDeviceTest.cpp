#include "smbusd/emulation/chips/SmbusDevice.h"

#include <gtest/gtest.h>

#include "tests/support/ManualScheduler.h"

namespace {

using smbusd::CommandShape;
using smbusd::LogLevel;
using smbusd::Pec;
using smbusd::SmbusMisuse;
using Bytes = std::vector<uint8_t>;

constexpr uint8_t address = 0x58;
constexpr uint8_t sendCommand = 0x03, byteCommand = 0x10, wordCommand = 0x11, blockCommand = 0x12,
                  readOnlyCommand = 0x13, writeOnlyCommand = 0x14, unknownCommand = 0x7F;

class NoPower : public smbusd::PowerControl {
  public:
    void powerOff() override {}
    void powerCycle() override {}
};

/** Writes down what reaches it; a word reads as what was written last, its bytes turned around. */
class RecordingDevice : public smbusd::SmbusDevice {
  public:
    using smbusd::SmbusDevice::SmbusDevice;

    std::vector<std::pair<uint8_t, Bytes>> writes;
    std::vector<SmbusMisuse> misuses;

  protected:
    std::optional<CommandShape> shapeOf( uint8_t command ) const override {
        using Kind = CommandShape::Kind;
        switch ( command ) {
        case sendCommand:
            return CommandShape{ Kind::Send, 0, false, true };
        case byteCommand:
            return CommandShape{ Kind::Bytes, 1 };
        case wordCommand:
            return CommandShape{ Kind::Bytes, 2 };
        case blockCommand:
            return CommandShape{ Kind::Block, 4 };
        case readOnlyCommand:
            return CommandShape{ Kind::Bytes, 1, true, false };
        case writeOnlyCommand:
            return CommandShape{ Kind::Bytes, 1, false, true };
        default:
            return std::nullopt;
        }
    }
    Bytes readCommand( uint8_t command ) override {
        if ( command == wordCommand && !writes.empty() ) {
            const Bytes &last = writes.back().second;
            return { last.at( 1 ), last.at( 0 ) };
        }
        return command == blockCommand ? Bytes{ 'a', 'b', 'c' } : Bytes{ 0x5A };
    }
    void writeCommand( uint8_t command, std::span<const uint8_t> data ) override {
        writes.emplace_back( command, Bytes( data.begin(), data.end() ) );
    }
    void refused( SmbusMisuse misuse ) override { misuses.push_back( misuse ); }
};

class SmbusDevice : public testing::Test {
  protected:
    /** Writes bytes up to the first that is not acknowledged. @return how many were */
    static size_t send( RecordingDevice &to, const Bytes &bytes ) {
        EXPECT_TRUE( to.start( false ) );
        size_t acknowledged = 0;
        while ( acknowledged < bytes.size() && to.write( bytes[ acknowledged ] ) ) {
            acknowledged++;
        }
        return acknowledged;
    }
    static size_t message( RecordingDevice &to, const Bytes &bytes ) {
        const size_t acknowledged = send( to, bytes );
        to.stop();
        return acknowledged;
    }
    static Bytes receive( RecordingDevice &from, size_t count ) {
        Bytes bytes;
        for ( size_t i = 0; i < count; i++ ) {
            bytes.push_back( from.read() );
        }
        from.stop();
        return bytes;
    }
    static uint8_t pecOf( const Bytes &bytes ) {
        Pec pec;
        for ( const uint8_t byte : bytes ) {
            pec.add( byte );
        }
        return pec.value();
    }

    std::vector<std::string> log_lines;
    test::ManualScheduler scheduler;
    smbusd::Log log{ LogLevel::Warning, [ this ]( LogLevel, const std::string &line ) {
                        log_lines.push_back( line );
                    } };
    NoPower power;
    RecordingDevice device{ { "d", "device", address, scheduler, log, power }, true };
    RecordingDevice plain{ { "p", "device", address, scheduler, log, power }, false };
};

using Writes = std::vector<std::pair<uint8_t, Bytes>>;
using Misuses = std::vector<SmbusMisuse>;

TEST_F( SmbusDevice, AWriteTakesEffectAtItsEnd ) {
    EXPECT_EQ( send( device, { wordCommand, 0x34, 0x12 } ), 3u );
    EXPECT_EQ( device.writes, Writes{} );
    device.stop();
    EXPECT_EQ( device.writes, ( Writes{ { wordCommand, { 0x34, 0x12 } } } ) );
    EXPECT_EQ( device.misuses, Misuses{} );
}

TEST_F( SmbusDevice, ABlocksDataComesWithoutItsCountAndASendHasNone ) {
    EXPECT_EQ( message( device, { blockCommand, 2, 0xA1, 0xA2 } ), 4u );
    EXPECT_EQ( message( device, { sendCommand } ), 1u );
    EXPECT_EQ( device.writes, ( Writes{ { blockCommand, { 0xA1, 0xA2 } }, { sendCommand, {} } } ) );
}

TEST_F( SmbusDevice, ACommandAloneOnlyNamesWhatIsReadLater ) {
    EXPECT_EQ( message( device, { byteCommand } ), 1u );
    EXPECT_EQ( device.writes, Writes{} );
    EXPECT_EQ( device.misuses, Misuses{} );
}

TEST_F( SmbusDevice, ARightPacketErrorCodeIsAcknowledged ) {
    const uint8_t pec = pecOf( { address << 1, byteCommand, 0x77 } );
    EXPECT_EQ( message( device, { byteCommand, 0x77, pec } ), 3u );
    EXPECT_EQ( device.writes, ( Writes{ { byteCommand, { 0x77 } } } ) );
}

TEST_F( SmbusDevice, AWrongPacketErrorCodeIsRefusedAndTheWriteHasNoEffect ) {
    const auto wrong = static_cast<uint8_t>( pecOf( { address << 1, byteCommand, 0x77 } ) ^ 1 );
    EXPECT_EQ( message( device, { byteCommand, 0x77, wrong } ), 2u );
    EXPECT_EQ( device.writes, Writes{} );
    EXPECT_EQ( device.misuses, ( Misuses{ SmbusMisuse::BadPec } ) );
    EXPECT_EQ( device.counters.errors, 1u );
}

TEST_F( SmbusDevice, WhatComesAfterThePacketErrorCodeIsTooMuch ) {
    const uint8_t pec = pecOf( { address << 1, byteCommand, 0x77 } );
    EXPECT_EQ( message( device, { byteCommand, 0x77, pec, 0 } ), 3u );
    EXPECT_EQ( device.writes, Writes{} );
    EXPECT_EQ( device.misuses, ( Misuses{ SmbusMisuse::BadData } ) );
}

TEST_F( SmbusDevice, ADeviceWithoutPacketErrorCodesTakesOneForAByteTooMany ) {
    const uint8_t pec = pecOf( { address << 1, byteCommand, 0x77 } );
    EXPECT_EQ( message( plain, { byteCommand, 0x77, pec } ), 2u );
    EXPECT_EQ( plain.writes, Writes{} );
    EXPECT_EQ( log_lines, ( std::vector<std::string>{
                              "device \"p\": more than 1 data byte(s) for command 0x10" } ) );
}

TEST_F( SmbusDevice, RefusesWhatItDoesNotKnow ) {
    EXPECT_EQ( message( device, { unknownCommand, 1 } ), 0u );
    EXPECT_EQ( device.misuses, ( Misuses{ SmbusMisuse::UnknownCommand } ) );
    EXPECT_EQ( log_lines,
               ( std::vector<std::string>{ "device \"d\": command 0x7F is not known" } ) );
}

TEST_F( SmbusDevice, RefusesDataThatTheCommandDoesNotTake ) {
    EXPECT_EQ( message( device, { readOnlyCommand, 1 } ), 1u );
    EXPECT_EQ( message( device, { blockCommand, 5 } ), 1u ); // it takes four
    EXPECT_EQ( message( device, { wordCommand, 1 } ), 2u );
    EXPECT_EQ( message( device, { blockCommand, 3, 1, 2 } ), 4u );
    EXPECT_EQ( device.writes, Writes{} );
    EXPECT_EQ( device.misuses, ( Misuses( 4, SmbusMisuse::BadData ) ) );
    EXPECT_EQ( log_lines, ( std::vector<std::string>{
                              "device \"d\": write to the read-only command 0x13",
                              "device \"d\": block of 5 bytes for command 0x12, which takes 1 to 4",
                              "device \"d\": only 1 of 2 data byte(s) for command 0x11",
                              "device \"d\": only 3 of 4 data byte(s) for command 0x12" } ) );
}

TEST_F( SmbusDevice, AReadEndsWithThePacketErrorCodeOfTheWholeMessage ) {
    EXPECT_EQ( send( device, { byteCommand } ), 1u );
    EXPECT_TRUE( device.start( true ) );
    const uint8_t pec = pecOf( { address << 1, byteCommand, address << 1 | 1, 0x5A } );
    EXPECT_EQ( receive( device, 3 ), ( Bytes{ 0x5A, pec, 0xFF } ) );
    EXPECT_EQ( send( plain, { byteCommand } ), 1u );
    EXPECT_TRUE( plain.start( true ) );
    EXPECT_EQ( receive( plain, 2 ), ( Bytes{ 0x5A, 0xFF } ) );
}

TEST_F( SmbusDevice, ABlockIsReadWithItsCountFirst ) {
    EXPECT_EQ( send( device, { blockCommand } ), 1u );
    EXPECT_TRUE( device.start( true ) );
    EXPECT_EQ( receive( device, 4 ), ( Bytes{ 3, 'a', 'b', 'c' } ) );
}

TEST_F( SmbusDevice, AProcessCallAnswersWhatItsOwnDataMade ) {
    EXPECT_EQ( send( device, { wordCommand, 0x34, 0x12 } ), 3u );
    EXPECT_TRUE( device.start( true ) );
    EXPECT_EQ( receive( device, 2 ), ( Bytes{ 0x12, 0x34 } ) );
    EXPECT_EQ( device.writes, ( Writes{ { wordCommand, { 0x34, 0x12 } } } ) ); // only once
}

TEST_F( SmbusDevice, TheReadOfACommandThatHasNoneIsRefusedOnceAndHasNoEffect ) {
    for ( const uint8_t command : { writeOnlyCommand, sendCommand } ) {
        device.misuses.clear();
        EXPECT_EQ( send( device, { command } ), 1u );
        EXPECT_FALSE( device.start( true ) );
        device.stop();
        EXPECT_EQ( device.misuses, ( Misuses{ SmbusMisuse::UnknownCommand } ) );
    }
    EXPECT_EQ( device.writes, Writes{} );
    EXPECT_EQ( log_lines, ( std::vector<std::string>{
                              "device \"d\": read of the write-only command 0x14",
                              "device \"d\": read of the write-only command 0x03" } ) );
}

TEST_F( SmbusDevice, AReceiveByteBeforeAnyCommandBringsAnIdleLine ) {
    EXPECT_TRUE( device.start( true ) );
    EXPECT_EQ( receive( device, 2 ), ( Bytes{ 0xFF, 0xFF } ) );
    EXPECT_EQ( device.writes, Writes{} );
    EXPECT_EQ( device.misuses, Misuses{} );
    EXPECT_EQ( device.counters.errors, 1u );
    EXPECT_EQ( log_lines, ( std::vector<std::string>{
                              "device \"d\": receive byte, but no command to read was named" } ) );
}

TEST_F( SmbusDevice, AReceiveByteAfterASendBringsAnIdleLine ) {
    message( device, { byteCommand } );
    message( device, { sendCommand } );
    EXPECT_TRUE( device.start( true ) );
    EXPECT_EQ( receive( device, 2 ), ( Bytes{ 0xFF, 0xFF } ) );
    EXPECT_EQ( device.writes, ( Writes{ { sendCommand, {} } } ) );
}

TEST_F( SmbusDevice, AReceiveByteBringsOneByteOfTheLastCommandAndItsPacketErrorCode ) {
    message( device, { wordCommand, 0x34, 0x12 } );
    EXPECT_TRUE( device.start( true ) );
    EXPECT_EQ( receive( device, 3 ), ( Bytes{ 0x12, pecOf( { address << 1 | 1, 0x12 } ), 0xFF } ) );
    message( device, { blockCommand } );
    EXPECT_TRUE( device.start( true ) );
    EXPECT_EQ( receive( device, 2 ), ( Bytes{ 3, pecOf( { address << 1 | 1, 3 } ) } ) );
    message( plain, { wordCommand, 0x34, 0x12 } );
    EXPECT_TRUE( plain.start( true ) );
    EXPECT_EQ( receive( plain, 2 ), ( Bytes{ 0x12, 0xFF } ) );
}

TEST_F( SmbusDevice, AResetForgetsWhatWasNamed ) {
    message( device, { byteCommand } );
    device.reset();
    EXPECT_TRUE( device.start( true ) );
    EXPECT_EQ( receive( device, 1 ), ( Bytes{ 0xFF } ) );
}

TEST_F( SmbusDevice, ABlockOfNoBytesIsRefused ) {
    EXPECT_EQ( message( device, { blockCommand, 0 } ), 1u );
    EXPECT_EQ( device.writes, Writes{} );
    EXPECT_EQ( device.misuses, ( Misuses{ SmbusMisuse::BadData } ) );
    EXPECT_EQ( log_lines, ( std::vector<std::string>{
                              "device \"d\": block of 0 bytes for command 0x12, which takes 1 to "
                              "4" } ) );
}

TEST_F( SmbusDevice, AfterARefusalTheReadIsNotAcknowledgedButTheNextMessageIs ) {
    EXPECT_EQ( send( device, { wordCommand, 1 } ), 2u );
    EXPECT_FALSE( device.start( true ) ); // a byte of the process call's data is missing
    device.stop();
    EXPECT_EQ( message( device, { byteCommand, 1 } ), 2u );
    EXPECT_EQ( device.writes, ( Writes{ { byteCommand, { 1 } } } ) );
}

TEST_F( SmbusDevice, AResetForgetsAMessageThatIsUnderWay ) {
    EXPECT_EQ( send( device, { wordCommand, 1, 2 } ), 3u );
    device.reset();
    device.stop();
    EXPECT_EQ( device.writes, Writes{} );
}

} // namespace
