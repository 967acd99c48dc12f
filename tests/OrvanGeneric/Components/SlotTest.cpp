#include "OrvanGeneric/Components/Slot.h"

#include <exception>

#include <gmock/gmock.h>

#include "tests/support/HostRecord.h"
#include "tests/support/ScriptedDriver.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Component::LogicalDevice::Slot;
using testing::_;
using testing::DoAll;
using testing::Return;
using testing::SetArgPointee;

class MockSlot final : public Slot {
  public:
    MOCK_METHOD( pl_status, getPresence, ( char ** ), ( override ) );
};

class SlotTest : public testing::Test {
  protected:
    MockSlot slot_;
    ScriptedDriver driver_;
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( SlotTest, RecordStandsBehindTheVirtualTablePointer ) {
    expectHostRecord( slot_, &Slot::ops_ );
}

TEST_F( SlotTest, TableHoldsItsSizeAndThePresenceCallback ) {
    ORVAN_FOR_32_BITS();
    EXPECT_EQ( Slot::ops_.size, 8u );
    EXPECT_EQ( offsetof( pl_slot_ops, get_presence ), 4u );
    EXPECT_EQ( Slot::ops_.get_presence, Slot::getPresenceCallback );
}

TEST_F( SlotTest, VirtualOperationsFollowTheDestructor ) {
    EXPECT_EQ( virtualSlot( &Slot::getPresence ), 2u );
}

TEST_F( SlotTest, PresenceCallbackTracesAndReturnsTheObjectsAnswer ) {
    char field[] = "fdl";
    EXPECT_CALL( slot_, getPresence( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( field ), Return( PL_STATUS_NOT_PRESENT ) ) );
    char *text = nullptr;
    pl_slot *record = slot_.record();
    EXPECT_EQ( record->ops->get_presence( record, &text ), PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( text, field );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, callOn( "getPresenceCallback", record ) } } ) );
}

TEST_F( SlotTest, AddReturnsTheRecordOfTheDriversSlot ) {
    std::string register_;
    driver_.newSlot = [ & ]( const Drivers::DriverArgs &args ) {
        register_ = args.driverArgs.at( "register" );
        return &slot_;
    };
    const std::string text = scriptedDescription( R"({"register":7})" );
    EXPECT_EQ( pl_slot_add( text.c_str() ), slot_.record() );
    EXPECT_EQ( register_, "7" );
    EXPECT_EQ( host_.traces, scriptedCreation( text ) );
}

TEST_F( SlotTest, AddOfATextThatIsNotJsonGivesNull ) {
    EXPECT_EQ( pl_slot_add( "?" ), nullptr );
    EXPECT_EQ( host_.traces, unparsable( "?", { { 0, "DeviceBase::create() failed" } } ) );
}

TEST_F( SlotTest, AddWithAnUnknownDriverGivesNull ) {
    const std::string text = scriptedDescription( "{}", "Nobody" );
    EXPECT_EQ( pl_slot_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, unknownDriver( text, { { 0, "DeviceBase::create() failed" } } ) );
    EXPECT_TRUE( Component::DeviceBase::devices.empty() );
}

TEST_F( SlotTest, AddGivesNullWhenTheDriverMakesNoSlot ) {
    driver_.newSlot = []( const Drivers::DriverArgs & ) { return nullptr; };
    const std::string text = scriptedDescription();
    EXPECT_EQ( pl_slot_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, scriptedCreation( text, { { 0, "newSlot() failed" } } ) );
}

TEST_F( SlotTest, AddThrowsForADriverWithoutSlots ) {
    try {
        pl_slot_add( scriptedDescription().c_str() );
        FAIL() << "nothing thrown";
    } catch ( const std::exception &error ) {
        EXPECT_STREQ( error.what(), "Not implemented newSlot" );
    }
}

} // namespace
