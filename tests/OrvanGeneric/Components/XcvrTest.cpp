#include "OrvanGeneric/Components/Xcvr.h"

#include <cstring>
#include <exception>
#include <stdexcept>

#include <gmock/gmock.h>

#include "tests/support/HostRecord.h"
#include "tests/support/ScriptedDriver.h"
#include "tests/support/TracesOnAbort.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Component::LogicalDevice::QsfpXcvr;
using Component::LogicalDevice::SfpXcvr;
using testing::_;
using testing::DoAll;
using testing::Return;
using testing::SetArgPointee;

class MockSfp final : public SfpXcvr {
  public:
    using SfpXcvr::SfpXcvr;
    MOCK_METHOD( int, getPresence, (), ( override ) );
    MOCK_METHOD( pl_status, getTxFault, ( int * ), ( override ) );
    MOCK_METHOD( pl_status, getRxLos, ( int * ), ( override ) );
    MOCK_METHOD( pl_status, getTxDisable, ( int * ), ( override ) );
    MOCK_METHOD( pl_status, setTxDisable, ( int ), ( override ) );
};

class MockQsfp final : public QsfpXcvr {
  public:
    using QsfpXcvr::QsfpXcvr;
    MOCK_METHOD( int, getPresence, (), ( override ) );
    MOCK_METHOD( pl_status, getModSel, ( int * ), ( override ) );
    MOCK_METHOD( pl_status, setModSel, ( int ), ( override ) );
    MOCK_METHOD( pl_status, getLpMode, ( int * ), ( override ) );
    MOCK_METHOD( pl_status, setLpMode, ( int ), ( override ) );
    MOCK_METHOD( pl_status, getReset, ( int * ), ( override ) );
    MOCK_METHOD( pl_status, setReset, ( int ), ( override ) );
    MOCK_METHOD( pl_status, getInterrupt, ( int * ), ( override ) );
};

/** The tables' words, as a host that knows nothing but their layout reads them. */
uint32_t word( const pl_xcvr_ops &ops, int index ) {
    uint32_t words[ sizeof( pl_xcvr_ops ) / 4 ];
    std::memcpy( words, &ops, sizeof( ops ) );
    return words[ index ];
}

template <class Callback>
uint32_t word( Callback callback ) {
    return static_cast<uint32_t>( reinterpret_cast<uintptr_t>( callback ) );
}

class XcvrTest : public testing::Test {
  protected:
    MockSfp sfp_{ 17 };
    MockQsfp qsfp_{ 4000000000 };
    pl_xcvr *sfpRecord_ = sfp_.record();
    pl_xcvr *qsfpRecord_ = qsfp_.record();
    ScriptedDriver driver_;
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( XcvrTest, RecordStandsBehindTheVirtualTablePointer ) {
    expectHostRecord( sfp_, &SfpXcvr::ops_ );
    expectHostRecord( qsfp_, &QsfpXcvr::ops_ );
}

TEST_F( XcvrTest, RecordHoldsTheId ) {
    EXPECT_EQ( sfpRecord_->id, 17u );
    EXPECT_EQ( qsfpRecord_->id, 4000000000u );
}

TEST_F( XcvrTest, QsfpTableHoldsTypeSubTableAndCallbacks ) {
    ORVAN_FOR_32_BITS();
    const pl_xcvr_ops &ops = QsfpXcvr::ops_;
    EXPECT_EQ( sizeof( ops ), 44u );
    EXPECT_EQ( word( ops, 0 ), 44u );
    EXPECT_EQ( word( ops, 1 ), 1u );
    EXPECT_EQ( word( ops, 2 ), 36u );
    EXPECT_EQ( word( ops, 3 ), word( QsfpXcvr::getPresenceCallback ) );
    EXPECT_EQ( word( ops, 4 ), word( QsfpXcvr::getModSelCallback ) );
    EXPECT_EQ( word( ops, 5 ), word( QsfpXcvr::setModSelCallback ) );
    EXPECT_EQ( word( ops, 6 ), word( QsfpXcvr::getLpModeCallback ) );
    EXPECT_EQ( word( ops, 7 ), word( QsfpXcvr::setLpModeCallback ) );
    EXPECT_EQ( word( ops, 8 ), word( QsfpXcvr::getResetCallback ) );
    EXPECT_EQ( word( ops, 9 ), word( QsfpXcvr::setResetCallback ) );
    EXPECT_EQ( word( ops, 10 ), word( QsfpXcvr::getInterruptCallback ) );
}

TEST_F( XcvrTest, SfpTableHoldsTypeSubTableCallbacksAndThreeEmptyEntries ) {
    ORVAN_FOR_32_BITS();
    const pl_xcvr_ops &ops = SfpXcvr::ops_;
    EXPECT_EQ( word( ops, 0 ), 44u );
    EXPECT_EQ( word( ops, 1 ), 0u );
    EXPECT_EQ( word( ops, 2 ), 24u );
    EXPECT_EQ( word( ops, 3 ), word( SfpXcvr::getPresenceCallback ) );
    EXPECT_EQ( word( ops, 4 ), word( SfpXcvr::getTxFaultCallback ) );
    EXPECT_EQ( word( ops, 5 ), word( SfpXcvr::getRxLosCallback ) );
    EXPECT_EQ( word( ops, 6 ), word( SfpXcvr::getTxDisableCallback ) );
    EXPECT_EQ( word( ops, 7 ), word( SfpXcvr::setTxDisableCallback ) );
    EXPECT_EQ( word( ops, 8 ), 0u );
    EXPECT_EQ( word( ops, 9 ), 0u );
    EXPECT_EQ( word( ops, 10 ), 0u );
}

TEST_F( XcvrTest, SfpVirtualOperationsFollowTheDestructor ) {
    EXPECT_EQ( virtualSlot( &SfpXcvr::getPresence ), 2u );
    EXPECT_EQ( virtualSlot( &SfpXcvr::getTxFault ), 3u );
    EXPECT_EQ( virtualSlot( &SfpXcvr::getRxLos ), 4u );
    EXPECT_EQ( virtualSlot( &SfpXcvr::getTxDisable ), 5u );
    EXPECT_EQ( virtualSlot( &SfpXcvr::setTxDisable ), 6u );
}

TEST_F( XcvrTest, QsfpVirtualOperationsFollowTheDestructor ) {
    EXPECT_EQ( virtualSlot( &QsfpXcvr::getPresence ), 2u );
    EXPECT_EQ( virtualSlot( &QsfpXcvr::getModSel ), 3u );
    EXPECT_EQ( virtualSlot( &QsfpXcvr::setModSel ), 4u );
    EXPECT_EQ( virtualSlot( &QsfpXcvr::getLpMode ), 5u );
    EXPECT_EQ( virtualSlot( &QsfpXcvr::setLpMode ), 6u );
    EXPECT_EQ( virtualSlot( &QsfpXcvr::getReset ), 7u );
    EXPECT_EQ( virtualSlot( &QsfpXcvr::setReset ), 8u );
    EXPECT_EQ( virtualSlot( &QsfpXcvr::getInterrupt ), 9u );
}

TEST_F( XcvrTest, SfpGetPresenceCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( sfp_, getPresence() ).WillOnce( Return( 1 ) );
    EXPECT_EQ( sfpRecord_->ops->u.sfp.get_presence( sfpRecord_ ), 1 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "getPresenceCallback(17)" } } ) );
}

TEST_F( XcvrTest, SfpGetTxFaultCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( sfp_, getTxFault( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 2 ), Return( PL_STATUS_FAILED ) ) );
    int value = 0;
    EXPECT_EQ( sfpRecord_->ops->u.sfp.get_tx_fault( sfpRecord_, &value ), PL_STATUS_FAILED );
    EXPECT_EQ( value, 2 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "getTxFaultCallback(17)" } } ) );
}

TEST_F( XcvrTest, SfpGetRxLosCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( sfp_, getRxLos( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 1 ), Return( PL_STATUS_FAULT ) ) );
    int value = 0;
    EXPECT_EQ( sfpRecord_->ops->u.sfp.get_rx_los( sfpRecord_, &value ), PL_STATUS_FAULT );
    EXPECT_EQ( value, 1 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "getRxLosCallback(17)" } } ) );
}

TEST_F( XcvrTest, SfpGetTxDisableCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( sfp_, getTxDisable( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 2 ), Return( PL_STATUS_TRANSPORT ) ) );
    int value = 0;
    EXPECT_EQ( sfpRecord_->ops->u.sfp.get_tx_disable( sfpRecord_, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, 2 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "getTxDisableCallback(17)" } } ) );
}

TEST_F( XcvrTest, SfpSetTxDisableCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( sfp_, setTxDisable( -1 ) ).WillOnce( Return( PL_STATUS_FAILED ) );
    EXPECT_EQ( sfpRecord_->ops->u.sfp.set_tx_disable( sfpRecord_, -1 ), PL_STATUS_FAILED );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "setTxDisableCallback(17, -1)" } } ) );
}

TEST_F( XcvrTest, QsfpGetPresenceCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( qsfp_, getPresence() ).WillOnce( Return( 2 ) );
    EXPECT_EQ( qsfpRecord_->ops->u.qsfp.get_presence( qsfpRecord_ ), 2 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "getPresenceCallback(4000000000)" } } ) );
}

TEST_F( XcvrTest, QsfpGetModSelCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( qsfp_, getModSel( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 1 ), Return( PL_STATUS_TRANSPORT ) ) );
    int value = 0;
    EXPECT_EQ( qsfpRecord_->ops->u.qsfp.get_mod_sel( qsfpRecord_, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, 1 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "getModSelCallback(4000000000)" } } ) );
}

TEST_F( XcvrTest, QsfpSetModSelCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( qsfp_, setModSel( 2 ) ).WillOnce( Return( PL_STATUS_FAILED ) );
    EXPECT_EQ( qsfpRecord_->ops->u.qsfp.set_mod_sel( qsfpRecord_, 2 ), PL_STATUS_FAILED );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "setModSelCallback(4000000000, 2)" } } ) );
}

TEST_F( XcvrTest, QsfpGetLpModeCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( qsfp_, getLpMode( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 1 ), Return( PL_STATUS_FAULT ) ) );
    int value = 0;
    EXPECT_EQ( qsfpRecord_->ops->u.qsfp.get_lp_mode( qsfpRecord_, &value ), PL_STATUS_FAULT );
    EXPECT_EQ( value, 1 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "getLpModeCallback(4000000000)" } } ) );
}

TEST_F( XcvrTest, QsfpSetLpModeCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( qsfp_, setLpMode( 2 ) ).WillOnce( Return( PL_STATUS_TRANSPORT ) );
    EXPECT_EQ( qsfpRecord_->ops->u.qsfp.set_lp_mode( qsfpRecord_, 2 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "setLpModeCallback(4000000000, 2)" } } ) );
}

TEST_F( XcvrTest, QsfpGetResetCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( qsfp_, getReset( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 1 ), Return( PL_STATUS_FAILED ) ) );
    int value = 0;
    EXPECT_EQ( qsfpRecord_->ops->u.qsfp.get_reset( qsfpRecord_, &value ), PL_STATUS_FAILED );
    EXPECT_EQ( value, 1 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "getResetCallback(4000000000)" } } ) );
}

TEST_F( XcvrTest, QsfpSetResetCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( qsfp_, setReset( 2 ) ).WillOnce( Return( PL_STATUS_FAULT ) );
    EXPECT_EQ( qsfpRecord_->ops->u.qsfp.set_reset( qsfpRecord_, 2 ), PL_STATUS_FAULT );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "setResetCallback(4000000000, 2)" } } ) );
}

TEST_F( XcvrTest, QsfpGetInterruptCallbackTracesTheIdAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( qsfp_, getInterrupt( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 1 ), Return( PL_STATUS_TRANSPORT ) ) );
    int value = 0;
    EXPECT_EQ( qsfpRecord_->ops->u.qsfp.get_interrupt( qsfpRecord_, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, 1 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "getInterruptCallback(4000000000)" } } ) );
}

std::string xcvr( const std::string &id, const std::string &type ) {
    return scriptedDescription( R"({"id":)" + id + R"(,"type":")" + type + R"("})" );
}

TEST_F( XcvrTest, AddReturnsTheRecordOfTheDriversSfpForBothSpellings ) {
    for ( const char *type : { "sfp", "sfp+" } ) {
        unsigned asked = 0;
        std::string speed;
        driver_.newSfpXcvr = [ & ]( unsigned id, const Drivers::DriverArgs &args ) {
            asked = id;
            speed = args.driverArgs.at( "type" );
            return &sfp_;
        };
        EXPECT_EQ( pl_xcvr_add( xcvr( "48", type ).c_str() ), sfpRecord_ );
        EXPECT_EQ( asked, 48u );
        EXPECT_EQ( speed, type );
    }
}

TEST_F( XcvrTest, AddReturnsTheRecordOfTheDriversQsfpForBothSpellings ) {
    for ( const char *type : { "qsfp", "qsfp+" } ) {
        unsigned asked = 0;
        driver_.newQsfpXcvr = [ & ]( unsigned id, const Drivers::DriverArgs & ) {
            asked = id;
            return &qsfp_;
        };
        EXPECT_EQ( pl_xcvr_add( xcvr( "32", type ).c_str() ), qsfpRecord_ );
        EXPECT_EQ( asked, 32u );
    }
}

TEST_F( XcvrTest, AddOfAKnownDeviceSharesItsDriver ) {
    MockSfp other( 18 );
    driver_.newSfpXcvr = [ & ]( unsigned id, const Drivers::DriverArgs & ) {
        return id == 17 ? &sfp_ : &other;
    };
    const std::string first = xcvr( "17", "sfp" );
    const std::string second = xcvr( "18", "sfp" );
    EXPECT_EQ( pl_xcvr_add( first.c_str() ), sfpRecord_ );
    EXPECT_EQ( pl_xcvr_add( second.c_str() ), other.record() );
    EXPECT_EQ( driver_.made.size(), 1u );
    EXPECT_EQ( host_.traces,
               scriptedCreation(
                   first, { { 0, "parsing devArgs = " + second },
                            { 0, "looking for already existing device 5" },
                            { 0, "using previously instanciated HardwareDevice Scripted" } } ) );
}

TEST_F( XcvrTest, AddOfATextThatIsNotJsonGivesNull ) {
    EXPECT_EQ( pl_xcvr_add( "?" ), nullptr );
    EXPECT_EQ( host_.traces, unparsable( "?", { { 0, "DeviceBase::create() failed" } } ) );
}

TEST_F( XcvrTest, AddWithAnUnknownDriverGivesNullWhateverTheArguments ) {
    const std::string text = scriptedDescription( "{}", "Nobody" );
    EXPECT_EQ( pl_xcvr_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, unknownDriver( text, { { 0, "DeviceBase::create() failed" } } ) );
}

TEST_F( XcvrTest, AddGivesNullWhenTheDriverMakesNoSfp ) {
    driver_.newSfpXcvr = []( unsigned, const Drivers::DriverArgs & ) { return nullptr; };
    const std::string text = xcvr( "1", "sfp" );
    EXPECT_EQ( pl_xcvr_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, scriptedCreation( text, { { 0, "newSfpXcvr() failed" } } ) );
}

TEST_F( XcvrTest, AddGivesNullWhenTheDriverMakesNoQsfp ) {
    driver_.newQsfpXcvr = []( unsigned, const Drivers::DriverArgs & ) { return nullptr; };
    const std::string text = xcvr( "1", "qsfp" );
    EXPECT_EQ( pl_xcvr_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, scriptedCreation( text, { { 0, "newQsfpXcvr() failed" } } ) );
}

TEST_F( XcvrTest, AddThrowsForADriverWithoutTheKind ) {
    try {
        pl_xcvr_add( xcvr( "1", "sfp" ).c_str() );
        ADD_FAILURE() << "nothing thrown";
    } catch ( const std::exception &error ) {
        EXPECT_STREQ( error.what(), "Not implemented newSfpXcvr" );
    }
    try {
        pl_xcvr_add( xcvr( "1", "qsfp+" ).c_str() );
        ADD_FAILURE() << "nothing thrown";
    } catch ( const std::exception &error ) {
        EXPECT_STREQ( error.what(), "Not implemented newQsfpXcvr" );
    }
}

/** The failed assertion of this file, then the trace before it. */
std::string abortsAfter( const std::string &trace ) {
    return "OrvanGeneric/Components/Xcvr.*Assertion `false' failed(.|\n)*trace 0: " + trace;
}

TEST_F( XcvrTest, AddWithoutAnIdAborts ) {
    EXPECT_DEATH(
        {
            TracesOnAbort traces;
            pl_xcvr_add( scriptedDescription( R"({"type":"sfp"})" ).c_str() );
        },
        abortsAfter( "No id argument given for Xcvr" ) );
}

TEST_F( XcvrTest, AddWithoutATypeAborts ) {
    EXPECT_DEATH(
        {
            TracesOnAbort traces;
            pl_xcvr_add( scriptedDescription( R"({"id":1})" ).c_str() );
        },
        abortsAfter( "No type argument given for Xcvr" ) );
}

TEST_F( XcvrTest, AddWithATypeInCapitalsAborts ) {
    EXPECT_DEATH(
        {
            TracesOnAbort traces;
            pl_xcvr_add( xcvr( "1", "QSFP" ).c_str() );
        },
        abortsAfter( "Xcvr type QSFP not supported" ) );
}

TEST_F( XcvrTest, AddWithALongerTypeAborts ) {
    EXPECT_DEATH(
        {
            TracesOnAbort traces;
            pl_xcvr_add( xcvr( "1", "sfp28" ).c_str() );
        },
        abortsAfter( "Xcvr type sfp28 not supported" ) );
}

TEST_F( XcvrTest, AddThrowsForAnIdThatIsNoNumberBeforeItLooksForTheType ) {
    EXPECT_THROW( pl_xcvr_add( scriptedDescription( R"({"id":"first"})" ).c_str() ),
                  std::invalid_argument );
}

} // namespace
