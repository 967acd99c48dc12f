#include "OrvanGeneric/Drivers/MultiSlot.h"

#include <cstring>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "OrvanGeneric/Topology.h"
#include "tests/support/FakeHost.h"

namespace {

/** A part that answers as it is told and remembers what it was made with. */
struct Part : Component::HardwareDevice {
    struct Slot : Component::LogicalDevice::Slot {
        explicit Slot( Part *part ) : part( part ) {}
        pl_status getPresence( char **fdl ) override {
            ++part->asked;
            if ( part->status == PL_STATUS_OK ) {
                *fdl = strdup( part->name.c_str() );
            }
            return part->status;
        }
        Part *part;
    };
    Component::LogicalDevice::Slot *newSlot( const Drivers::DriverArgs &args ) override {
        slotArgs = args.driverArgs;
        return args.driverArgs.count( "none" ) ? nullptr : new Slot( this );
    }
    std::string name;
    pl_status status = PL_STATUS_NOT_PRESENT;
    int asked = 0;
    std::map<std::string, std::string> slotArgs;
};

std::map<uint32_t, Part *> parts;

class MultiSlotTest : public testing::Test {
  protected:
    MultiSlotTest() {
        Drivers::drivers[ "Part" ] = []( const Drivers::DriverArgs &args, Ham::Ham * ) {
            Part *part = parts[ args.did ] = new Part();
            part->name = args.driverArgs.at( "name" );
            return part;
        };
    }

    static std::string part( int did, const char *name, const char *more = "" ) {
        return R"({\"did\":)" + std::to_string( did ) +
               R"(,\"driver\":\"Part\",\"provideHam\":0,\"address\":{\"address\":1},)" +
               R"(\"driverArgs\":{\"name\":\")" + name + R"(\")" + more + "}}";
    }

    /** A bay with the parts given as "key": "text" members. */
    static std::string bay( const std::string &multiDeviceArgs, const char *id = "1" ) {
        return R"({"did":1,"driver":"MultiSlot","isMultiDevice":true,"address":{"address":0},)"
               R"("multiDeviceArgs":{)" +
               multiDeviceArgs + R"(},"driverArgs":{"id":)" + id + R"(,"psuId":2}})";
    }

    static std::string member( const char *key, const std::string &text ) {
        return '"' + std::string( key ) + "\":\"" + text + '"';
    }

    static pl_slot *addBayOfTwo() {
        // The text's order is not the keys' order.
        return pl_slot_add( bay( member( "b-pmbus", part( 11, "pmbus" ) ) + "," +
                                 member( "a-tlv", part( 10, "tlv" ) ) )
                                .c_str() );
    }

    static pl_status presence( pl_slot *slot, std::string *text ) {
        char *fdl = nullptr;
        const pl_status status = slot->ops->get_presence( slot, &fdl );
        *text = fdl ? fdl : "";
        std::free( fdl );
        return status;
    }

    std::string text_;
};

TEST_F( MultiSlotTest, EveryPartIsAddedInTheOrderOfTheKeysWithTheSlotsArguments ) {
    ASSERT_NE( addBayOfTwo(), nullptr );
    const auto &traces = FakeHost::instance();
    EXPECT_TRUE( traces.traced( 0, "Creating MultiSlot Device" ) );
    const std::string common = R"("driver":"Part","provideHam":0,"address":{"address":1},)";
    std::vector<std::string> adding;
    for ( const std::string &text : traces.texts( 5 ) ) {
        if ( text.rfind( "Adding slot", 0 ) == 0 ) {
            adding.push_back( text );
        }
    }
    EXPECT_EQ( adding, ( std::vector<std::string>{
                           "Adding slot 1 subdevice: a-tlv ->{\"did\":10," + common +
                               R"("driverArgs":{"name":"tlv","id":"1","psuId":"2"}})",
                           "Adding slot 1 subdevice: b-pmbus ->{\"did\":11," + common +
                               R"("driverArgs":{"name":"pmbus","id":"1","psuId":"2"}})",
                       } ) );
    EXPECT_EQ( parts.at( 10 )->slotArgs.at( "psuId" ), "2" );
    EXPECT_EQ( parts.at( 11 )->slotArgs.at( "id" ), "1" );
}

TEST_F( MultiSlotTest, TheSlotsArgumentsWinOverThePartsOwn ) {
    pl_slot_add( bay( member( "a", part( 10, "tlv", R"(,\"psuId\":\"1\")" ) ) ).c_str() );
    EXPECT_EQ( parts.at( 10 )->slotArgs.at( "psuId" ), "2" );
}

TEST_F( MultiSlotTest, ThePartsDescriptionsAreAsTheyWereAfterwards ) {
    addBayOfTwo();
    const auto *bay =
        dynamic_cast<Component::MultiDevice *>( Component::DeviceBase::devices.at( 1 ) );
    ASSERT_NE( bay, nullptr );
    EXPECT_EQ( bay->deviceDriverArgs.at( "a-tlv" ).find( "psuId" ), std::string::npos );
    EXPECT_EQ( bay->slots.size(), 2u );
}

TEST_F( MultiSlotTest, TheFirstPartThatAnswersIsRememberedAndAskedAloneNextTime ) {
    pl_slot *slot = addBayOfTwo();
    Part &tlv = *parts.at( 10 );
    Part &pmbus = *parts.at( 11 );
    pmbus.status = PL_STATUS_OK;
    EXPECT_EQ( presence( slot, &text_ ), PL_STATUS_OK );
    EXPECT_EQ( text_, "pmbus" );
    EXPECT_EQ( tlv.asked, 1 );
    EXPECT_EQ( pmbus.asked, 1 );
    tlv.status = PL_STATUS_OK;
    EXPECT_EQ( presence( slot, &text_ ), PL_STATUS_OK );
    EXPECT_EQ( text_, "pmbus" );
    EXPECT_EQ( tlv.asked, 1 );
    EXPECT_EQ( pmbus.asked, 2 );
}

TEST_F( MultiSlotTest, WhenTheRememberedPartFailsAllAreAskedThatOneAgainIncluded ) {
    pl_slot *slot = addBayOfTwo();
    Part &tlv = *parts.at( 10 );
    Part &pmbus = *parts.at( 11 );
    tlv.status = PL_STATUS_OK;
    presence( slot, &text_ );
    tlv.status = PL_STATUS_TRANSPORT;
    pmbus.status = PL_STATUS_OK;
    EXPECT_EQ( presence( slot, &text_ ), PL_STATUS_OK );
    EXPECT_EQ( text_, "pmbus" );
    EXPECT_EQ( tlv.asked, 3 );
    EXPECT_EQ( pmbus.asked, 1 );
    EXPECT_EQ( presence( slot, &text_ ), PL_STATUS_OK );
    EXPECT_EQ( tlv.asked, 3 );
    EXPECT_EQ( pmbus.asked, 2 );
}

TEST_F( MultiSlotTest, WhenNoneAnswersTheStatusIsNotPresentWhateverTheirs ) {
    pl_slot *slot = addBayOfTwo();
    parts.at( 10 )->status = PL_STATUS_TRANSPORT;
    EXPECT_EQ( presence( slot, &text_ ), PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( text_, "" );
    EXPECT_TRUE( FakeHost::instance().traced( 7, "getPresence" ) );
}

TEST_F( MultiSlotTest, ABayWithoutPartsIsEmpty ) {
    EXPECT_EQ( presence( pl_slot_add( bay( "" ).c_str() ), &text_ ), PL_STATUS_NOT_PRESENT );
}

TEST_F( MultiSlotTest, APartThatYieldsNoSlotIsTracedAndSkipped ) {
    pl_slot *slot = pl_slot_add( bay( member( "a", part( 10, "x", R"(,\"none\":\"1\")" ) ) + "," +
                                      member( "b", part( 11, "pmbus" ) ) )
                                     .c_str() );
    EXPECT_TRUE( FakeHost::instance().traced( 0, "Failed to add slot 1 subdevice with key='a'" ) );
    parts.at( 11 )->status = PL_STATUS_OK;
    EXPECT_EQ( presence( slot, &text_ ), PL_STATUS_OK );
    EXPECT_EQ( text_, "pmbus" );
}

TEST_F( MultiSlotTest, APartWhoseTextIsNoJsonIsTracedAndSkipped ) {
    pl_slot *slot = pl_slot_add(
        bay( member( "a", "nonsense" ) + "," + member( "b", part( 11, "pmbus" ) ) ).c_str() );
    ASSERT_NE( slot, nullptr );
    EXPECT_TRUE(
        FakeHost::instance().traced( 0, "failed to parse psu devArgs: Invalid value. offset 1" ) );
    EXPECT_TRUE( FakeHost::instance().traced( 0, "Failed to add slot 1 subdevice with key='a'" ) );
    parts.at( 11 )->status = PL_STATUS_OK;
    EXPECT_EQ( presence( slot, &text_ ), PL_STATUS_OK );
}

TEST_F( MultiSlotTest, SlotsOneToFiveAreTakenAndNumberedByTheirId ) {
    pl_slot_add( bay( member( "a", part( 10, "x" ) ), "5" ).c_str() );
    bool numbered = false;
    for ( const std::string &text : FakeHost::instance().texts( 5 ) ) {
        numbered |= text.rfind( "Adding slot 5 subdevice: a ->", 0 ) == 0;
    }
    EXPECT_TRUE( numbered );
}

TEST_F( MultiSlotTest, OtherIdsAbort ) {
    EXPECT_DEATH( pl_slot_add( bay( "", "0" ).c_str() ), "slotId >= 1 && slotId <= 5" );
    EXPECT_DEATH( pl_slot_add( bay( "", "6" ).c_str() ), "slotId >= 1 && slotId <= 5" );
}

TEST_F( MultiSlotTest, AMissingIdAborts ) {
    EXPECT_DEATH( pl_slot_add( R"({"did":1,"driver":"MultiSlot","isMultiDevice":true,
                                   "address":{"address":0},"multiDeviceArgs":{}})" ),
                  "it != args.driverArgs.end\\(\\)" );
}

TEST_F( MultiSlotTest, APartThatIsNotUtf8BecomesANullEntryWithTheTraceThatCame ) {
    pl_slot *slot = pl_slot_add(
        bay( member( "a", part( 10, "caf\xE9" ) ) + "," + member( "b", part( 11, "pmbus" ) ) )
            .c_str() );
    ASSERT_NE( slot, nullptr );
    EXPECT_TRUE( FakeHost::instance().traced(
        0, "failed to write psu devArgs: Invalid encoding in string." ) );
    EXPECT_TRUE( FakeHost::instance().traced( 0, "Failed to add slot 1 subdevice with key='a'" ) );
    EXPECT_EQ( parts.count( 10 ), 0u );
    const auto *bay =
        dynamic_cast<Component::MultiDevice *>( Component::DeviceBase::devices.at( 1 ) );
    ASSERT_EQ( bay->slots.size(), 2u );
    EXPECT_EQ( bay->slots[ 0 ], nullptr );
    EXPECT_NE( bay->slots[ 1 ], nullptr );
    parts.at( 11 )->status = PL_STATUS_OK;
    EXPECT_EQ( presence( slot, &text_ ), PL_STATUS_OK );
    EXPECT_EQ( text_, "pmbus" );
}

TEST_F( MultiSlotTest, APartThatThrowsLeavesTheDescriptionsAsTheyWere ) {
    const std::string noSlot = R"({\"did\":12,\"driver\":\"Dummy\",\"provideHam\":0,)"
                               R"(\"address\":{\"address\":1},\"driverArgs\":{}})";
    EXPECT_THROW( pl_slot_add( bay( member( "a", noSlot ) ).c_str() ),
                  Component::NotImplementedException );
    auto *bay = dynamic_cast<Component::MultiDevice *>( Component::DeviceBase::devices.at( 1 ) );
    ASSERT_NE( bay, nullptr );
    EXPECT_EQ(
        bay->deviceDriverArgs.at( "a" ),
        R"({"did":12,"driver":"Dummy","provideHam":0,"address":{"address":1},"driverArgs":{}})" );
    // Nor does it count as being made any longer.
    EXPECT_THROW( pl_slot_add( this->bay( member( "a", noSlot ) ).c_str() ),
                  Component::NotImplementedException );
}

TEST_F( MultiSlotTest, APartThatIsTheBayItselfAbortsAndIsNamed ) {
    EXPECT_DEATH( pl_slot_add( bay( member( "a", part( 1, "x" ) ) ).c_str() ),
                  "OrvanGeneric/Drivers/MultiSlot.*`device 1 is no part of itself'" );
}

TEST_F( MultiSlotTest, TwoBaysThatArePartsOfEachOtherAbort ) {
    const std::string other = R"({\"did\":2,\"driver\":\"MultiSlot\",\"isMultiDevice\":true,)"
                              R"(\"address\":{\"address\":0},\"driverArgs\":{},)"
                              R"(\"multiDeviceArgs\":{\"b\":\"{\\\"did\\\":1,)"
                              R"(\\\"driver\\\":\\\"Part\\\",\\\"address\\\":{\\\"address\\\":0},)"
                              R"(\\\"driverArgs\\\":{}}\"}})";
    EXPECT_DEATH( pl_slot_add( bay( member( "a", other ) ).c_str() ),
                  "device 1 is no part of itself" );
}

} // namespace
