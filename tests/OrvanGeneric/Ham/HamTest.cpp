#include "OrvanGeneric/Ham/Ham.h"

#include <functional>
#include <ostream>

#include <gtest/gtest.h>

#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"
#include "tests/support/VirtualSlot.h"

namespace {

using HamBase = Ham::Ham;
using Log = std::vector<std::string>;

TEST( Ham, VirtualOperationsStandInTheirFixedOrder ) {
    size_t slot = 0;
    EXPECT_EQ( virtualSlot( &HamBase::init ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::prepare ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::execute ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addRecvByte ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addRead8 ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addRead16 ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addRead32 ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addRead ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addReadBlock ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addSendByte ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addWrite8 ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addWrite16 ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addWrite32 ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addWrite ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addWriteBlock ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::addProcessCall ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::get8 ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::get16 ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::get32 ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::getBlock ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::setExpected ), slot++ );
    EXPECT_EQ( virtualSlot( &HamBase::setDriverName ), slot++ );
    EXPECT_EQ( slot, 22u );
}

TEST( Ham, InvalidResponseIdHasAllBitsSet ) {
    EXPECT_EQ( Ham::INVALID_RESPONSE_ID, 4294967295u );
}

/** A back-end that adds nothing to the base. */
struct BareHam : HamBase {
    void prepare() override {}
    int execute() override { return 0; }
};

struct Operation {
    const char *name;
    std::function<void( HamBase & )> call;
};

void PrintTo( const Operation &operation, std::ostream *out ) {
    *out << operation.name;
}

class HamBaseOperation : public testing::TestWithParam<Operation> {};

TEST_P( HamBaseOperation, ThrowsWithItsOwnName ) {
    BareHam ham;
    try {
        GetParam().call( ham );
        FAIL() << "offered";
    } catch ( const Component::NotImplementedException &exception ) {
        EXPECT_EQ( exception.what(), std::string( "Not implemented " ) + GetParam().name );
    }
}

INSTANTIATE_TEST_SUITE_P(
    EveryOperation, HamBaseOperation,
    testing::Values( Operation{ "addRecvByte", []( auto &ham ) { ham.addRecvByte(); } },
                     Operation{ "addRead8", []( auto &ham ) { ham.addRead8( 1 ); } },
                     Operation{ "addRead16", []( auto &ham ) { ham.addRead16( 1 ); } },
                     Operation{ "addRead32", []( auto &ham ) { ham.addRead32( 1 ); } },
                     Operation{ "addRead", []( auto &ham ) { ham.addRead( 1, 2, false ); } },
                     Operation{ "addReadBlock", []( auto &ham ) { ham.addReadBlock( 1 ); } },
                     Operation{ "addSendByte", []( auto &ham ) { ham.addSendByte( 1, false ); } },
                     Operation{ "addWrite8", []( auto &ham ) { ham.addWrite8( 1, 2, false ); } },
                     Operation{ "addWrite16", []( auto &ham ) { ham.addWrite16( 1, 2, false ); } },
                     Operation{ "addWrite32", []( auto &ham ) { ham.addWrite32( 1, 2, false ); } },
                     Operation{ "addWrite", []( auto &ham ) { ham.addWrite( 1, "x", 1, false ); } },
                     Operation{ "addWriteBlock",
                                []( auto &ham ) { ham.addWriteBlock( 1, "x", 1, false ); } },
                     Operation{ "addProcessCall", []( auto &ham ) { ham.addProcessCall( 1, 2 ); } },
                     Operation{ "get8", []( auto &ham ) { ham.get8( 0 ); } },
                     Operation{ "get16", []( auto &ham ) { ham.get16( 0 ); } },
                     Operation{ "get32", []( auto &ham ) { ham.get32( 0 ); } },
                     Operation{ "getBlock", []( auto &ham ) { ham.getBlock( 0, 1 ); } } ),
    []( const auto &tested ) { return std::string( tested.param.name ); } );

TEST( Ham, BaseInitDoesNothing ) {
    BareHam ham;
    ham.init();
    EXPECT_TRUE( FakeHost::instance().traces.empty() );
}

TEST( Ham, BaseSetExpectedOnlyTraces ) {
    BareHam ham;
    ham.setExpected( nullptr );
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 0, "virtual Ham::setExpected() invoked!!!" } } ) );
}

TEST( Ham, BaseSetDriverNameOnlyTraces ) {
    BareHam ham;
    ham.setDriverName( "Pmbus", "psu1" );
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 0, "virtual Ham::setDriverName() invoked!!!" } } ) );
}

TEST( Ham, RetryCountIsUnsetAtFirst ) {
    ScriptedHam ham;
    EXPECT_FALSE( ham.retrySet );
    EXPECT_EQ( ham.retryCount, 0u );
}

TEST( Ham, RetryCountIsKeptAndMarkedAsSet ) {
    ScriptedHam ham;
    ham.retryCountIs( 0 );
    EXPECT_TRUE( ham.retrySet );
    EXPECT_EQ( ham.retryCount, 0u );
    ham.retryCountIs( 4294967295u );
    EXPECT_EQ( ham.retryCount, 4294967295u );
}

/** Adds the 32-bit operations, and keeps what getBlock is asked. */
struct WideHam : ScriptedHam {
    ::Ham::ResponseId addRead32( unsigned reg ) override {
        log.push_back( "read32 " + std::to_string( reg ) );
        return addRead8( reg );
    }
    void addWrite32( unsigned reg, uint32_t value, bool pec ) override {
        log.push_back( "write32 " + std::to_string( reg ) + " " + std::to_string( value ) +
                       ( pec ? " pec" : "" ) );
    }
    uint32_t get32( ::Ham::ResponseId id ) override { return 0xCAFE0000u + id; }
    std::string getBlock( ::Ham::ResponseId id, unsigned len ) override {
        lengthsAsked.push_back( len );
        return ScriptedHam::getBlock( id, len );
    }
    std::vector<unsigned> lengthsAsked;
};

class HamOneShot : public testing::Test {
  protected:
    WideHam ham_;
};

TEST_F( HamOneShot, RecvByteReceives ) {
    ham_.receivedByte = 0x5A;
    uint8_t out = 0;
    EXPECT_EQ( ham_.recvByte( &out ), 0 );
    EXPECT_EQ( out, 0x5A );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "recvByte", "execute" } ) );
}

TEST_F( HamOneShot, Read8Reads ) {
    ham_.bytes[ 0x20 ] = 0xA5;
    uint8_t out = 0;
    EXPECT_EQ( ham_.read8( 0x20, &out ), 0 );
    EXPECT_EQ( out, 0xA5 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x20", "execute" } ) );
}

TEST_F( HamOneShot, Read16Reads ) {
    ham_.words[ 0x8B ] = 0x1234;
    uint16_t out = 0;
    EXPECT_EQ( ham_.read16( 0x8B, &out ), 0 );
    EXPECT_EQ( out, 0x1234 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read16 0x8b", "execute" } ) );
}

TEST_F( HamOneShot, Read32Reads ) {
    uint32_t out = 0;
    EXPECT_EQ( ham_.read32( 7, &out ), 0 );
    EXPECT_EQ( out, 0xCAFE0000u );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read32 7", "read8 0x07", "execute" } ) );
}

TEST_F( HamOneShot, ReadAsksForTheLengthAndTheFlag ) {
    ham_.blocks[ 0x10 ] = "abc";
    std::string out = "old";
    EXPECT_EQ( ham_.read( 0x10, 3, &out, true ), 0 );
    EXPECT_EQ( out, "abc" );
    EXPECT_EQ( ham_.lengthsAsked, std::vector<unsigned>{ 3 } );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read 0x10 3 flag", "execute" } ) );
    ham_.takeLog();
    EXPECT_EQ( ham_.read( 0x10, 3, &out, false ), 0 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read 0x10 3", "execute" } ) );
}

TEST_F( HamOneShot, ReadBlockLetsTheBlockTellItsLength ) {
    ham_.blocks[ 0x9A ] = "D1U54P";
    std::string out;
    EXPECT_EQ( ham_.readBlock( 0x9A, &out ), 0 );
    EXPECT_EQ( out, "D1U54P" );
    EXPECT_EQ( ham_.lengthsAsked, std::vector<unsigned>{ 0 } );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "readBlock 0x9a", "execute" } ) );
}

TEST_F( HamOneShot, ProcessCallExchangesAWord ) {
    ham_.words[ 5 ] = 0xBEEF;
    uint16_t out = 0;
    EXPECT_EQ( ham_.processCall( 5, 0x1234, &out ), 0 );
    EXPECT_EQ( out, 0xBEEF );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "processCall 0x05 0x1234", "execute" } ) );
}

TEST_F( HamOneShot, WritesAreBatchesOfOneAndPassThePecFlag ) {
    EXPECT_EQ( ham_.sendByte( 3, true ), 0 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "sendByte 0x03 pec", "execute" } ) );
    EXPECT_EQ( ham_.write8( 6, 0xFF, false ), 0 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "write8 0x06 0xff", "execute" } ) );
    EXPECT_EQ( ham_.write8( 6, 0xFF, true ), 0 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "write8 0x06 0xff pec", "execute" } ) );
    EXPECT_EQ( ham_.write16( 0x3B, 100, true ), 0 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "write16 0x3b 0x0064 pec", "execute" } ) );
    EXPECT_EQ( ham_.write32( 8, 99, true ), 0 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "write32 8 99 pec", "execute" } ) );
    EXPECT_EQ( ham_.write( 0x10, "\x0a\x0b", 2, true ), 0 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "write 0x10 0a0b pec", "execute" } ) );
    EXPECT_EQ( ham_.writeBlock( 0x11, "\x0c", 1, true ), 0 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "writeBlock 0x11 0c pec", "execute" } ) );
}

TEST_F( HamOneShot, FailedReadsReturnTheStatusAndLeaveTheOutput ) {
    ham_.statuses = { 6, 4, 6, 4, 6, 4, 6 };
    uint8_t byte = 0x77;
    EXPECT_EQ( ham_.recvByte( &byte ), 6 );
    EXPECT_EQ( ham_.read8( 1, &byte ), 4 );
    EXPECT_EQ( byte, 0x77 );
    uint16_t word = 0x7777;
    EXPECT_EQ( ham_.read16( 1, &word ), 6 );
    EXPECT_EQ( ham_.processCall( 1, 2, &word ), 4 );
    EXPECT_EQ( word, 0x7777 );
    uint32_t number = 7;
    EXPECT_EQ( ham_.read32( 1, &number ), 6 );
    EXPECT_EQ( number, 7u );
    std::string block = "old";
    EXPECT_EQ( ham_.read( 1, 2, &block, false ), 4 );
    EXPECT_EQ( ham_.readBlock( 1, &block ), 6 );
    EXPECT_EQ( block, "old" );
    EXPECT_TRUE( ham_.lengthsAsked.empty() );
}

TEST_F( HamOneShot, FailedWritesReturnTheStatus ) {
    ham_.statuses = { 6, 4, 6, 4, 6, 4 };
    EXPECT_EQ( ham_.sendByte( 1, false ), 6 );
    EXPECT_EQ( ham_.write8( 1, 2, false ), 4 );
    EXPECT_EQ( ham_.write16( 1, 2, false ), 6 );
    EXPECT_EQ( ham_.write32( 1, 2, false ), 4 );
    EXPECT_EQ( ham_.write( 1, "x", 1, false ), 6 );
    EXPECT_EQ( ham_.writeBlock( 1, "x", 1, false ), 4 );
}

} // namespace
