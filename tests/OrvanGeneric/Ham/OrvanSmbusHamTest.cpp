#include "OrvanGeneric/Ham/OrvanSmbusHam.h"

#include <cstdlib>
#include <functional>
#include <ostream>

#include "OrvanGeneric/NotImplementedException.h"
#include "tests/OrvanGeneric/Ham/SmbusHamFixture.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Ham::OrvanSmbusHam;
using support::reply;

/** Device 0x50 of the CPU's own bus 3, register addresses of one byte, "readDelay" 2. */
constexpr Topology::HamAddress deviceAddress = { 0, 0x50, 3, 0, 0, 0, 1, 0, 0, 2 };
/** 2 << 30 readDelay, 1 << 25 addrSize, 3 << 7 bus, 0x50 address; flagged: 1 << 21, too. */
const std::string at = "address 820001d0:";
const std::string flaggedAt = "address 822001d0:";

TEST( OrvanSmbusHam, AddressOperationsStandBehindThoseOfEveryHam ) {
    EXPECT_EQ( virtualSlot( &OrvanSmbusHam::setAddress ), 22u );
    EXPECT_EQ( virtualSlot( &OrvanSmbusHam::getAddress ), 23u );
    EXPECT_EQ( virtualSlot( &OrvanSmbusHam::setBus ), 24u );
    EXPECT_EQ( virtualSlot( &OrvanSmbusHam::getBus ), 25u );
}

TEST( OrvanSmbusHam, AddressAndBusHaveSevenBits ) {
    OrvanSmbusHam ham( Topology::HamAddress{} );
    ham.setAddress( 0xD0 );
    EXPECT_EQ( ham.getAddress(), 0x50 );
    ham.setBus( 0x83 );
    EXPECT_EQ( ham.getBus(), 3 );
    EXPECT_EQ( ham.hamAddress().packed(), 0x000001D000000000u );
}

TEST( OrvanSmbusHam, BareAddressBehindAControllerIsReachedThroughIt ) {
    constexpr Topology::HamAddress address = { 0x11, 0x50, 3, 2, 0, 5, 2, 1, 3, 1 };
    const auto *ham = kept( OrvanSmbusHam::createFromAddress( address, 0x501 ) );
    EXPECT_EQ( ham->master(), Smbus::SCD );
    EXPECT_EQ( ham->pciAddress(), 0x501u );
    EXPECT_EQ( ham->hamAddress().packed(), address.packed() );
    EXPECT_TRUE( ham->muxPath().empty() );
}

TEST( OrvanSmbusHam, BareAddressWithoutAControllerIsOnTheCpusBus ) {
    const auto *ham = kept( OrvanSmbusHam::createFromAddress( deviceAddress, std::nullopt ) );
    EXPECT_EQ( ham->master(), Smbus::I2C );
    EXPECT_EQ( ham->pciAddress(), 0u );
    EXPECT_EQ( ham->hamAddress().packed(), deviceAddress.packed() );
}

TEST( OrvanSmbusHam, BareAddressWithoutAControllerHasNoAccelerator ) {
    constexpr Topology::HamAddress address = { 0, 0x50, 3, 2, 0, 0, 1, 0, 0, 0 };
    EXPECT_DEATH( OrvanSmbusHam::createFromAddress( address, std::nullopt ),
                  "OrvanGeneric/Ham/OrvanSmbusHam.*`address.accelerator == 0'" );
}

class SmbusHamTest : public SmbusServiceTest {
  protected:
    SmbusHamTest() { ham_.init(); }

    OrvanSmbusHam &ham_ = *kept( OrvanSmbusHam::createFromAddress( deviceAddress, std::nullopt ) );
};

// --- requests ---

struct Row {
    const char *name;
    std::function<void( OrvanSmbusHam & )> add;
    std::string words;
};

void PrintTo( const Row &row, std::ostream *out ) {
    *out << row.name;
}

class SmbusHamRequest : public SmbusHamTest, public testing::WithParamInterface<Row> {};

TEST_P( SmbusHamRequest, IsEncodedFromTheOperation ) {
    ham_.prepare();
    GetParam().add( ham_ );
    EXPECT_EQ( ham_.execute(), 0 );
    EXPECT_EQ( peer_.takeOnlyTransaction(), Log{ GetParam().words } );
}

INSTANTIATE_TEST_SUITE_P(
    EveryOperation, SmbusHamRequest,
    testing::Values(
        Row{ "recvByte", []( auto &ham ) { ham.addRecvByte(); },
             "type 0 length 0 " + at + "00000000 pci 00000000 master 1 pec 0 data -" },
        Row{ "read8", []( auto &ham ) { ham.addRead8( 0x12 ); },
             "type 0 length 1 " + at + "00000012 pci 00000000 master 1 pec 0 data -" },
        Row{ "read8WideRegister", []( auto &ham ) { ham.addRead8( 0x89ABCDEF ); },
             "type 0 length 1 " + at + "89abcdef pci 00000000 master 1 pec 0 data -" },
        Row{ "read16", []( auto &ham ) { ham.addRead16( 0x12 ); },
             "type 0 length 2 " + at + "00000012 pci 00000000 master 1 pec 0 data -" },
        Row{ "read", []( auto &ham ) { ham.addRead( 0x12, 40, false ); },
             "type 0 length 40 " + at + "00000012 pci 00000000 master 1 pec 0 data -" },
        Row{ "readFlagged", []( auto &ham ) { ham.addRead( 0x12, 40, true ); },
             "type 0 length 40 " + flaggedAt + "00000012 pci 00000000 master 1 pec 0 data -" },
        Row{ "readBlock", []( auto &ham ) { ham.addReadBlock( 0x9A ); },
             "type 3 length 0 " + at + "0000009a pci 00000000 master 1 pec 0 data -" },
        Row{ "sendByte", []( auto &ham ) { ham.addSendByte( 0xA5, false ); },
             "type 1 length 0 " + at + "000000a5 pci 00000000 master 1 pec 0 data -" },
        Row{ "sendBytePec", []( auto &ham ) { ham.addSendByte( 0xA5, true ); },
             "type 1 length 0 " + at + "000000a5 pci 00000000 master 1 pec 1 data -" },
        Row{ "write8", []( auto &ham ) { ham.addWrite8( 0x12, 0x34, false ); },
             "type 1 length 1 " + at + "00000012 pci 00000000 master 1 pec 0 data 34" },
        Row{ "write8Pec", []( auto &ham ) { ham.addWrite8( 0x12, 0xFF, true ); },
             "type 1 length 1 " + at + "00000012 pci 00000000 master 1 pec 1 data ff" },
        Row{ "write16", []( auto &ham ) { ham.addWrite16( 0x12, 0x1234, false ); },
             "type 1 length 2 " + at + "00000012 pci 00000000 master 1 pec 0 data 3412" },
        Row{ "write16Pec", []( auto &ham ) { ham.addWrite16( 0x12, 0xFE80, true ); },
             "type 1 length 2 " + at + "00000012 pci 00000000 master 1 pec 1 data 80fe" },
        Row{ "write", []( auto &ham ) { ham.addWrite( 0x12, "\x01\x00\x02", 3, false ); },
             "type 1 length 3 " + at + "00000012 pci 00000000 master 1 pec 0 data 010002" },
        Row{ "writePec", []( auto &ham ) { ham.addWrite( 0x12, "\x01", 1, true ); },
             "type 1 length 1 " + at + "00000012 pci 00000000 master 1 pec 1 data 01" },
        Row{ "writeBlock", []( auto &ham ) { ham.addWriteBlock( 0x12, "\x00\xff", 2, false ); },
             "type 4 length 2 " + at + "00000012 pci 00000000 master 1 pec 0 data 00ff" },
        Row{ "writeBlockPec", []( auto &ham ) { ham.addWriteBlock( 0x12, "\x07", 1, true ); },
             "type 4 length 1 " + at + "00000012 pci 00000000 master 1 pec 1 data 07" },
        Row{ "processCall", []( auto &ham ) { ham.addProcessCall( 0x12, 0x1234 ); },
             "type 2 length 2 " + at + "00000012 pci 00000000 master 1 pec 0 data 3412" } ),
    []( const auto &tested ) { return std::string( tested.param.name ); } );

TEST_F( SmbusHamTest, ControllerTravelsWithEveryRequest ) {
    constexpr Topology::HamAddress address = { 0, 0x51, 5, 2, 0, 0, 1, 0, 0, 0 };
    auto *ham = kept( OrvanSmbusHam::createFromAddress( address, 0x89ABCDEF ) );
    ham->init();
    uint8_t byte = 0;
    EXPECT_EQ( ham->read8( 1, &byte ), 0 );
    EXPECT_EQ( peer_.takeOnlyTransaction(),
               Log{ "type 0 length 1 address 020082d1:00000001 pci 89abcdef master 2 pec 0 "
                    "data -" } );
}

TEST_F( SmbusHamTest, FlagBelongsToOneRequest ) {
    ham_.prepare();
    ham_.addRead( 1, 4, true );
    ham_.addRead( 2, 4, false );
    ham_.addRead( 3, 4, true );
    ham_.addWrite8( 4, 0, false );
    EXPECT_EQ( ham_.execute(), 0 );
    const Log sent = peer_.takeOnlyTransaction();
    ASSERT_EQ( sent.size(), 4u );
    EXPECT_NE( sent[ 0 ].find( flaggedAt + "00000001" ), std::string::npos ) << sent[ 0 ];
    EXPECT_NE( sent[ 1 ].find( at + "00000002" ), std::string::npos ) << sent[ 1 ];
    EXPECT_NE( sent[ 2 ].find( flaggedAt + "00000003" ), std::string::npos ) << sent[ 2 ];
    EXPECT_NE( sent[ 3 ].find( at + "00000004" ), std::string::npos ) << sent[ 3 ];
}

TEST_F( SmbusHamTest, EveryOperationTakesTheNextIdOfItsBatch ) {
    ham_.prepare();
    EXPECT_EQ( ham_.addRecvByte(), 0u );
    EXPECT_EQ( ham_.addRead8( 1 ), 1u );
    EXPECT_EQ( ham_.addRead16( 1 ), 2u );
    EXPECT_EQ( ham_.addRead( 1, 3, false ), 3u );
    EXPECT_EQ( ham_.addReadBlock( 1 ), 4u );
    EXPECT_EQ( ham_.addProcessCall( 1, 2 ), 5u );
    ham_.addSendByte( 1, false );
    ham_.addWrite8( 1, 2, false );
    ham_.addWrite16( 1, 2, false );
    ham_.addWrite( 1, "x", 1, false );
    ham_.addWriteBlock( 1, "x", 1, false );
    EXPECT_EQ( ham_.addRead8( 1 ), 11u );
    ham_.prepare();
    EXPECT_EQ( ham_.addRead8( 1 ), 0u );
}

TEST_F( SmbusHamTest, BatchIsOneTransactionInTheOrderAdded ) {
    ham_.prepare();
    ham_.addWrite8( 1, 0xAA, false );
    ham_.addRead8( 2 );
    EXPECT_EQ( ham_.execute(), 0 );
    EXPECT_EQ( peer_.takeOnlyTransaction(),
               ( Log{ "type 1 length 1 " + at + "00000001 pci 00000000 master 1 pec 0 data aa",
                      "type 0 length 1 " + at + "00000002 pci 00000000 master 1 pec 0 data -" } ) );
}

TEST_F( SmbusHamTest, NextBatchStartsEmptyAndCarriesNothingOver ) {
    ham_.write( 1, "\x01\x02\x03", 3, true );
    peer_.takeTransactions();
    ham_.prepare();
    ham_.addRead8( 2 );
    EXPECT_EQ( ham_.execute(), 0 );
    EXPECT_EQ( peer_.takeOnlyTransaction(),
               Log{ "type 0 length 1 " + at + "00000002 pci 00000000 master 1 pec 0 data -" } );
}

TEST_F( SmbusHamTest, EmptyBatchIsSentToo ) {
    ham_.prepare();
    EXPECT_EQ( ham_.execute(), 0 );
    EXPECT_EQ( peer_.takeOnlyTransaction(), Log{} );
}

TEST_F( SmbusHamTest, RetryCountIsSentOnlyWhenSet ) {
    uint8_t byte = 0;
    ham_.read8( 1, &byte );
    ham_.retryCountIs( 0 );
    ham_.read8( 1, &byte );
    ham_.retryCountIs( 3 );
    ham_.read8( 1, &byte );
    ham_.write8( 1, 2, false );
    const auto sent = peer_.takeTransactions();
    ASSERT_EQ( sent.size(), 4u );
    EXPECT_FALSE( sent[ 0 ].has_retrycount() );
    EXPECT_TRUE( sent[ 1 ].has_retrycount() );
    EXPECT_EQ( sent[ 1 ].retrycount(), 0u );
    EXPECT_EQ( sent[ 2 ].retrycount(), 3u );
    EXPECT_EQ( sent[ 3 ].retrycount(), 3u );
}

// --- responses ---

TEST_F( SmbusHamTest, SuccessIsTracedOnce ) {
    uint8_t byte = 0;
    EXPECT_EQ( ham_.read8( 1, &byte ), 0 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "executing OrvanSmbusHam request" } } ) );
}

TEST_F( SmbusHamTest, ResultsAreFoundByIdInAnyOrderAndAsOftenAsWanted ) {
    peer_.answer( reply( { "\x5a", "\x34\x12", std::string( "\0\xff", 2 ), "abcdef" } ) );
    ham_.prepare();
    const auto byte = ham_.addRead8( 1 );
    const auto word = ham_.addRead16( 2 );
    const auto call = ham_.addProcessCall( 3, 4 );
    const auto block = ham_.addReadBlock( 5 );
    ASSERT_EQ( ham_.execute(), 0 );
    EXPECT_EQ( ham_.getBlock( block, 0 ), "abcdef" );
    EXPECT_EQ( ham_.get16( call ), 0xFF00 );
    EXPECT_EQ( ham_.get16( word ), 0x1234 );
    EXPECT_EQ( ham_.get8( byte ), 0x5A );
    EXPECT_EQ( ham_.get16( word ), 0x1234 );
}

TEST_F( SmbusHamTest, BytesAboveHalfAreNotSignExtended ) {
    peer_.answer( reply( { "\xfe\x80", "\xff" } ) );
    ham_.prepare();
    ham_.addRead16( 1 );
    ham_.addRead8( 2 );
    ASSERT_EQ( ham_.execute(), 0 );
    EXPECT_EQ( ham_.get16( 0 ), 0x80FE );
    EXPECT_EQ( ham_.get8( 1 ), 0xFF );
}

TEST_F( SmbusHamTest, BlockIsWhatCameWhateverLengthWasAskedFor ) {
    peer_.answer( reply( { std::string( "a\0b", 3 ) } ) );
    std::string block;
    EXPECT_EQ( ham_.read( 1, 8, &block, false ), 0 );
    EXPECT_EQ( block, std::string( "a\0b", 3 ) );
}

TEST_F( SmbusHamTest, UnreachableServiceIsATransportFailure ) {
    setenv( "PL_SMBUS_SOCKET", "/nonexistent/socket", 1 );
    PlatformLibrary::PLSocket unconnected;
    PlatformLibrary::PLSocket *connected = _plSock;
    _plSock = &unconnected;
    uint16_t word = 0x7777;
    EXPECT_EQ( ham_.read16( 1, &word ), 4 );
    EXPECT_EQ( word, 0x7777 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "executing OrvanSmbusHam request" },
                                       { 3, "execute: error. 2, No such file or directory" } } ) );
    _plSock = connected;
}

TEST_F( SmbusHamTest, ServiceThatHangsUpIsATransportFailureAndTheNextBatchSucceeds ) {
    peer_.hangUp();
    EXPECT_EQ( ham_.write8( 1, 2, false ), 4 );
    EXPECT_EQ( host_.texts( 3 ), Log{ "execute: error. 104, Connection reset by peer" } );
    EXPECT_EQ( peer_.takeTransactions().size(), 1u );
    EXPECT_EQ( ham_.write8( 1, 2, false ), 0 );
    EXPECT_EQ( peer_.takeTransactions().size(), 1u );
}

TEST_F( SmbusHamTest, FailureIsReportedWithTheServicesReason ) {
    auto failure = reply( { "\x01" } );
    failure.set_failed( true );
    failure.set_reason( "request 2 of 2, bus 3: no acknowledge" );
    peer_.answer( failure );
    ham_.prepare();
    ham_.addRead8( 1 );
    ham_.addRead8( 2 );
    EXPECT_EQ( ham_.execute(), 6 );
    EXPECT_EQ( host_.texts( 3 ),
               Log{ "execute: failure in response request 2 of 2, bus 3: no acknowledge" } );
}

TEST_F( SmbusHamTest, FailureWithoutAReasonIsUnknown ) {
    Smbus::TransactionResponse failure;
    failure.set_failed( true );
    peer_.answer( failure );
    uint8_t byte = 0x77;
    EXPECT_EQ( ham_.read8( 1, &byte ), 6 );
    EXPECT_EQ( byte, 0x77 );
    EXPECT_EQ( host_.texts( 3 ), Log{ "execute: failure in response unknown reason" } );
}

TEST_F( SmbusHamTest, FailureCountsEvenWithAllEntries ) {
    auto failure = reply( { "\x01" } );
    failure.set_failed( true );
    failure.set_reason( "" );
    peer_.answer( failure );
    uint8_t byte = 0x77;
    EXPECT_EQ( ham_.read8( 1, &byte ), 6 );
    EXPECT_EQ( host_.texts( 3 ), Log{ "execute: failure in response " } );
}

TEST_F( SmbusHamTest, TooFewEntriesAreAFailure ) {
    peer_.answer( reply( { "\x01" } ) );
    ham_.prepare();
    ham_.addRead8( 1 );
    ham_.addRead8( 2 );
    EXPECT_EQ( ham_.execute(), 6 );
    EXPECT_EQ(
        host_.traces,
        ( Traces{ { 4, "executing OrvanSmbusHam request" },
                  { 3, "execute: invalid number of response entries; expected 2, got 1" } } ) );
}

TEST_F( SmbusHamTest, TooManyEntriesAreAFailure ) {
    peer_.answer( reply( { "\x01", "\x02", "\x03" } ) );
    uint8_t byte = 0x77;
    EXPECT_EQ( ham_.read8( 1, &byte ), 6 );
    EXPECT_EQ( byte, 0x77 );
    EXPECT_EQ( host_.texts( 3 ),
               Log{ "execute: invalid number of response entries; expected 1, got 3" } );
}

TEST_F( SmbusHamTest, FailedBatchDoesNotSpoilTheNext ) {
    Smbus::TransactionResponse failure;
    failure.set_failed( true );
    failure.set_reason( "first" );
    peer_.answer( failure );
    peer_.answer( reply( { "\x42" } ) );
    uint8_t byte = 0;
    EXPECT_EQ( ham_.read8( 1, &byte ), 6 );
    EXPECT_EQ( ham_.read8( 1, &byte ), 0 );
    EXPECT_EQ( byte, 0x42 );
}

class SmbusHamAbort : public SmbusHamTest {
  protected:
    SmbusHamAbort() {
        peer_.answer( reply( { "", "a", "ab", "abc" } ) );
        ham_.prepare();
        for ( unsigned reg = 0; reg < 4; ++reg ) {
            ham_.addRead8( reg );
        }
        EXPECT_EQ( ham_.execute(), 0 );
    }
};

TEST_F( SmbusHamAbort, ByteMustBeOneByte ) {
    const char *const text = "OrvanGeneric/Ham/OrvanSmbusHam.*`data.size\\(\\) == 1'";
    EXPECT_DEATH( ham_.get8( 0 ), text );
    EXPECT_DEATH( ham_.get8( 2 ), text );
    EXPECT_EQ( ham_.get8( 1 ), 'a' );
}

TEST_F( SmbusHamAbort, WordMustBeTwoBytes ) {
    const char *const text = "OrvanGeneric/Ham/OrvanSmbusHam.*`data.size\\(\\) == 2'";
    EXPECT_DEATH( ham_.get16( 1 ), text );
    EXPECT_DEATH( ham_.get16( 3 ), text );
    EXPECT_EQ( ham_.get16( 2 ), 0x6261 );
}

TEST_F( SmbusHamAbort, IdMustBeOfTheBatch ) {
    EXPECT_DEATH( ham_.get8( Ham::INVALID_RESPONSE_ID ), "`id != INVALID_RESPONSE_ID'" );
    EXPECT_DEATH( ham_.get16( Ham::INVALID_RESPONSE_ID ), "`id != INVALID_RESPONSE_ID'" );
    EXPECT_DEATH( ham_.getBlock( Ham::INVALID_RESPONSE_ID, 0 ), "`id != INVALID_RESPONSE_ID'" );
    EXPECT_DEATH( ham_.get8( 4 ), "responses_size" );
    EXPECT_DEATH( ham_.get16( 4 ), "responses_size" );
    EXPECT_DEATH( ham_.getBlock( 4, 0 ), "responses_size" );
    EXPECT_DEATH( ham_.get8( 0xFFFFFFFE ), "responses_size" );
}

TEST_F( SmbusHamAbort, PrepareForgetsTheResults ) {
    ham_.prepare();
    EXPECT_DEATH( ham_.get8( 1 ), "responses_size" );
}

TEST_F( SmbusHamTest, WideOperationsAreNotOffered ) {
    const auto missing = []( const char *name, const std::function<void()> &call ) {
        try {
            call();
            ADD_FAILURE() << name << " is offered";
        } catch ( const Component::NotImplementedException &exception ) {
            EXPECT_EQ( exception.what(), std::string( "Not implemented " ) + name );
        }
    };
    missing( "addRead32", [ & ] { ham_.addRead32( 1 ); } );
    missing( "addWrite32", [ & ] { ham_.addWrite32( 1, 2, false ); } );
    missing( "get32", [ & ] { ham_.get32( 0 ); } );
}

TEST_F( SmbusHamTest, WarmBatchAllocatesNothing ) {
    const std::string data( 32, 'x' );
    unsigned sum = 0;
    const auto batch = [ & ] {
        ham_.prepare();
        const auto byte = ham_.addRead8( 1 );
        const auto word = ham_.addRead16( 2 );
        ham_.addRead( 3, 32, false );
        ham_.addWrite16( 4, 5, false );
        ham_.addWriteBlock( 6, data.data(), 32, true );
        const int status = ham_.execute();
        sum += ham_.get8( byte ) + ham_.get16( word );
        return status;
    };
    host_.dropTraces = true;
    for ( int i = 0; i < 4; ++i ) {
        ASSERT_EQ( batch(), 0 );
    }
    int status;
    size_t allocations;
    {
        const support::AllocationCounter counter;
        status = batch();
        uint16_t word = 0;
        status += ham_.read16( 1, &word );
        status += batch();
        allocations = counter.count();
    }
    EXPECT_EQ( status, 0 );
    EXPECT_EQ( allocations, 0u );
    EXPECT_EQ( sum, 0u );
}

} // namespace
