#include "smbusd/emulation/Fault.h"

#include <gtest/gtest.h>

namespace {

using smbusd::Fault;
using smbusd::FaultEffects;
using smbusd::FaultTable;
using smbusd::Operation;

Fault faultOf( Fault::Kind kind, uint32_t times = 0 ) {
    Fault fault;
    fault.kind = kind;
    fault.target = "chip";
    fault.times = times;
    return fault;
}

Operation operationOf( Operation::Kind kind, bool pec = false ) {
    Operation operation;
    operation.kind = kind;
    operation.pec = pec;
    operation.length = kind == Operation::Kind::ReadWord ? 2 : 1;
    return operation;
}

const Operation readByte = operationOf( Operation::Kind::ReadByte );

TEST( Fault, KindsHaveTheirNames ) {
    const std::vector<std::pair<Fault::Kind, std::string_view>> expected = {
        { Fault::Kind::Nack, "nack" },
        { Fault::Kind::BadPec, "bad-pec" },
        { Fault::Kind::ShortBlock, "short-block" },
        { Fault::Kind::ClockHold, "clock-hold" },
        { Fault::Kind::StuckBus, "stuck-bus" },
        { Fault::Kind::ArbitrationLost, "arbitration-lost" },
        { Fault::Kind::FlipBit, "flip-bit" },
        { Fault::Kind::Delay, "delay" },
        { Fault::Kind::DropConnection, "drop-connection" },
        { Fault::Kind::StopAnswering, "stop-answering" },
    };
    EXPECT_EQ( smbusd::faultNames().size(), expected.size() );
    for ( const auto &[ kind, name ] : expected ) {
        EXPECT_EQ( smbusd::faultName( kind ), name );
        EXPECT_EQ( smbusd::faultFromName( name ), kind );
    }
    EXPECT_EQ( smbusd::faultFromName( "fire" ), std::nullopt );
}

TEST( Fault, CountsDownAndIsGone ) {
    FaultTable table;
    table.inject( faultOf( Fault::Kind::Nack, 2 ) );
    for ( int i = 0; i < 2; i++ ) {
        FaultEffects effects;
        EXPECT_EQ( table.apply( "chip", readByte, effects ), 1u );
        EXPECT_TRUE( effects.nackAddress );
    }
    FaultEffects effects;
    EXPECT_EQ( table.apply( "chip", readByte, effects ), 0u );
    EXPECT_FALSE( effects.nackAddress );
    EXPECT_TRUE( table.empty() );
}

TEST( Fault, WithoutTimesItStaysUntilCleared ) {
    FaultTable table;
    const unsigned id = table.inject( faultOf( Fault::Kind::Nack ) );
    for ( int i = 0; i < 100; i++ ) {
        FaultEffects effects;
        EXPECT_EQ( table.apply( "chip", readByte, effects ), 1u );
    }
    EXPECT_EQ( table.faults().at( 0 ).hits, 100u );
    EXPECT_TRUE( table.clear( id ) );
    EXPECT_FALSE( table.clear( id ) );
    EXPECT_TRUE( table.empty() );
}

TEST( Fault, OtherTargetsAreLeftAlone ) {
    FaultTable table;
    table.inject( faultOf( Fault::Kind::Nack ) );
    FaultEffects effects;
    EXPECT_EQ( table.apply( "other", readByte, effects ), 0u );
    EXPECT_EQ( table.clearTarget( "other" ), 0u );
    EXPECT_EQ( table.clearTarget( "chip" ), 1u );
}

TEST( Fault, AnEmptyNameClearsAll ) {
    FaultTable table;
    Fault other = faultOf( Fault::Kind::Delay );
    other.target = "other";
    EXPECT_EQ( table.inject( faultOf( Fault::Kind::Nack ) ), 1u );
    EXPECT_EQ( table.inject( other ), 2u );
    EXPECT_EQ( table.clearTarget( "" ), 2u );
}

TEST( Fault, IsKeptForAnOperationThatItCanSpoil ) {
    struct Case {
        Fault fault;
        Operation operation;
        unsigned applied;
    };
    Fault nackData = faultOf( Fault::Kind::Nack );
    nackData.atData = true;
    Fault secondByte = faultOf( Fault::Kind::FlipBit );
    secondByte.byte = 1;
    using Kind = Operation::Kind;
    const std::vector<Case> cases = {
        { faultOf( Fault::Kind::BadPec ), operationOf( Kind::ReadByte ), 0 },
        { faultOf( Fault::Kind::BadPec ), operationOf( Kind::ReadByte, true ), 1 },
        { faultOf( Fault::Kind::BadPec ), operationOf( Kind::I2cBlockRead, true ), 0 },
        { faultOf( Fault::Kind::ShortBlock ), operationOf( Kind::ReadWord ), 0 },
        { faultOf( Fault::Kind::ShortBlock ), operationOf( Kind::BlockRead ), 1 },
        { faultOf( Fault::Kind::ShortBlock ), operationOf( Kind::I2cBlockRead ), 1 },
        { faultOf( Fault::Kind::ShortBlock ), operationOf( Kind::BlockWrite ), 0 },
        { nackData, operationOf( Kind::ReceiveByte ), 0 },
        { nackData, operationOf( Kind::SendByte ), 1 },
        { secondByte, operationOf( Kind::ReadByte ), 0 },
        { secondByte, operationOf( Kind::ReadWord ), 1 },
        { secondByte, operationOf( Kind::SendByte ), 0 },
        { secondByte, operationOf( Kind::BlockRead ), 1 },
        { faultOf( Fault::Kind::StuckBus ), operationOf( Kind::ReceiveByte ), 1 },
    };
    for ( const Case &c : cases ) {
        FaultTable table;
        table.inject( c.fault );
        FaultEffects effects;
        EXPECT_EQ( table.apply( "chip", c.operation, effects ), c.applied )
            << faultName( c.fault.kind ) << " on " << kindName( c.operation.kind );
    }
}

TEST( Fault, EffectsAddUp ) {
    FaultTable table;
    Fault slow = faultOf( Fault::Kind::Delay );
    slow.milliseconds = 20;
    table.inject( slow );
    table.inject( slow );
    Fault held = faultOf( Fault::Kind::ClockHold );
    held.milliseconds = 35;
    table.inject( held );
    table.inject( faultOf( Fault::Kind::DropConnection ) );
    table.inject( faultOf( Fault::Kind::StopAnswering ) );
    table.inject( faultOf( Fault::Kind::ArbitrationLost ) );
    FaultEffects effects;
    EXPECT_EQ( table.apply( "chip", readByte, effects ), 6u );
    EXPECT_EQ( effects.delay, std::chrono::milliseconds( 40 ) );
    EXPECT_EQ( effects.clockHold, std::chrono::milliseconds( 35 ) );
    EXPECT_TRUE( effects.dropConnection );
    EXPECT_TRUE( effects.stopAnswering );
    EXPECT_TRUE( effects.arbitrationLost );
}

} // namespace
