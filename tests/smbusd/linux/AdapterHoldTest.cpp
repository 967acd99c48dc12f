#include "smbusd/linux/AdapterHold.h"

#include <gtest/gtest.h>

#include "tests/support/FakeKernel.h"

namespace {

using smbusd::AdapterClaims;
using smbusd::AdapterHold;
using smbusd::AdapterSpec;
using By = smbusd::AdapterSpec::By;

const std::string usbPlace = "pci0/usb1/1-1/1-1:1.0";

class AdapterHoldTest : public testing::Test {
  protected:
    AdapterHold holdOn( AdapterSpec spec, const std::string &bus = "real" ) {
        return { std::move( spec ), bus, kernel.calls(), claims };
    }
    /** The number of the adapter that an opening brings; or why there was none. */
    std::string opened( AdapterHold &hold ) {
        const auto adapter = hold.open();
        return adapter ? fmt::format( "i2c-{}", kernel.openFiles.at( adapter->fd() ) ) : hold.why();
    }

    test::FakeKernel kernel;
    std::shared_ptr<AdapterClaims> claims = std::make_shared<AdapterClaims>();
};

TEST_F( AdapterHoldTest, OpensByNumberByNameAndByPath ) {
    kernel.add( 0, "SMBus stub driver" );
    kernel.add( 1, "SMBus I801 adapter at 0700" );
    kernel.add( 2, "i2c-tiny-usb at bus 001 device 004", usbPlace );
    kernel.files[ "/dev/board-bus" ] = 2;
    auto byNumber = holdOn( { By::Number, 0, "" }, "a" );
    auto byName = holdOn( { By::Name, 0, "SMBus I801 adapter at 0700" }, "b" );
    auto byPath = holdOn( { By::Path, 0, "/dev/board-bus" }, "c" );
    EXPECT_EQ( opened( byNumber ), "i2c-0" );
    EXPECT_EQ( opened( byName ), "i2c-1" );
    EXPECT_EQ( opened( byPath ), "i2c-2" );
    EXPECT_EQ( byName.describe(), "/dev/i2c-1 (\"SMBus I801 adapter at 0700\")" );
}

TEST_F( AdapterHoldTest, IsOpenOnlyWhileItIsUsed ) {
    kernel.add( 0, "one" );
    auto hold = holdOn( { By::Number, 0, "" } );
    EXPECT_TRUE( kernel.openFiles.empty() );
    {
        const auto adapter = hold.open();
        EXPECT_EQ( kernel.openFiles.size(), 1u );
    }
    EXPECT_TRUE( kernel.openFiles.empty() );
}

TEST_F( AdapterHoldTest, MayComeAfterTheStart ) {
    auto byNumber = holdOn( { By::Number, 7, "" }, "a" );
    auto byName = holdOn( { By::Name, 0, "late" }, "b" );
    auto byPath = holdOn( { By::Path, 0, "/dev/late" }, "c" );
    EXPECT_EQ( opened( byNumber ), "/dev/i2c-7: ENOENT (No such file or directory)" );
    EXPECT_EQ( opened( byName ), "no adapter of the kernel is called \"late\"" );
    EXPECT_EQ( opened( byPath ), "/dev/late: ENOENT (No such file or directory)" );
    EXPECT_EQ( byName.describe(), "\"late\"" );
    kernel.add( 7, "seventh" );
    kernel.add( 8, "late" );
    EXPECT_EQ( opened( byNumber ), "i2c-7" );
    EXPECT_EQ( opened( byName ), "i2c-8" );
    EXPECT_EQ( byNumber.takeNotice(), "" ); // it was never seen to go
}

TEST_F( AdapterHoldTest, ANameMustBeOneAdaptersOnly ) {
    kernel.add( 3, "twin", "pci0/3" );
    kernel.add( 5, "twin", "pci0/5" );
    auto hold = holdOn( { By::Name, 0, "twin" } );
    EXPECT_EQ( opened( hold ),
               "several adapters of the kernel are called \"twin\": /dev/i2c-3, /dev/i2c-5" );
}

TEST_F( AdapterHoldTest, NamesAFileThatIsNoAdapters ) {
    kernel.files[ "/dev/null" ] = -1;
    auto hold = holdOn( { By::Path, 0, "/dev/null" } );
    EXPECT_EQ( opened( hold ), "/dev/null: not the device file of an I2C adapter" );
    EXPECT_TRUE( kernel.openFiles.empty() );
}

TEST_F( AdapterHoldTest, SaysWhyAFileCannotBeOpened ) {
    kernel.add( 0, "one" );
    kernel.openErrors[ "/dev/i2c-0" ] = EACCES;
    auto hold = holdOn( { By::Number, 0, "" } );
    EXPECT_EQ( opened( hold ), "/dev/i2c-0: EACCES (Permission denied)" );
}

TEST_F( AdapterHoldTest, FollowsItsAdapterToAnotherNumber ) {
    kernel.add( 1, "host", "pci0/1f" );
    auto hold = holdOn( { By::Number, 1, "" } );
    kernel.remove( 1 );
    EXPECT_EQ( opened( hold ), "the adapter /dev/i2c-1 (\"host\") is gone" );
    kernel.add( 4, "host", "pci0/1f" );
    EXPECT_EQ( opened( hold ), "i2c-4" );
    EXPECT_EQ( hold.takeNotice(), "the adapter /dev/i2c-1 (\"host\") is back as /dev/i2c-4" );
    EXPECT_EQ( hold.takeNotice(), "" );
    EXPECT_EQ( opened( hold ), "i2c-4" );
    EXPECT_EQ( hold.takeNotice(), "" );
}

TEST_F( AdapterHoldTest, AnotherAdapterThatTookTheNumberIsNeverUsed ) {
    kernel.add( 1, "host", "pci0/1f" );
    auto hold = holdOn( { By::Number, 1, "" } ); // never opened: holding begins at the start
    kernel.remove( 1 );
    kernel.add( 1, "intruder", "pci0/2" );
    kernel.opened = []( const std::string &path ) { ADD_FAILURE() << path << " was opened"; };
    EXPECT_EQ( opened( hold ),
               "the adapter /dev/i2c-1 (\"host\") is gone; /dev/i2c-1 is \"intruder\" now" );
    // The same name in another place is another adapter.
    kernel.remove( 1 );
    kernel.add( 1, "host", "pci0/2" );
    EXPECT_EQ( opened( hold ),
               "the adapter /dev/i2c-1 (\"host\") is gone; /dev/i2c-1 is \"host\" now" );
}

TEST_F( AdapterHoldTest, AnAdapterThatComesInBetweenLookingAndOpeningIsNotUsed ) {
    kernel.add( 1, "host", "pci0/1f" );
    auto hold = holdOn( { By::Number, 1, "" } );
    kernel.opened = [ this ]( const std::string & ) {
        kernel.opened = nullptr;
        kernel.remove( 1 );
        kernel.add( 1, "intruder", "pci0/2" );
    };
    EXPECT_EQ( opened( hold ), "/dev/i2c-1 has just become another adapter" );
    EXPECT_TRUE( kernel.openFiles.empty() );
}

TEST_F( AdapterHoldTest, FindsAUsbAdapterAgainWhoseNameHasChanged ) {
    kernel.add( 6, "i2c-tiny-usb at bus 001 device 004", usbPlace );
    auto hold = holdOn( { By::Number, 6, "" } );
    kernel.remove( 6 );
    kernel.add( 2, "other" );
    kernel.add( 9, "i2c-tiny-usb at bus 001 device 005", usbPlace );
    EXPECT_EQ( opened( hold ), "i2c-9" );
    kernel.remove( 9 );
    kernel.add( 9, "i2c-tiny-usb at bus 001 device 006", usbPlace );
    EXPECT_EQ( opened( hold ), "i2c-9" );
}

TEST_F( AdapterHoldTest, ANameFindsItsAdapterInAnotherPlaceToo ) {
    kernel.add( 1, "host", "pci0/1f" );
    auto hold = holdOn( { By::Name, 0, "host" } );
    EXPECT_EQ( opened( hold ), "i2c-1" );
    kernel.remove( 1 );
    kernel.add( 3, "host", "pci0/20" );
    EXPECT_EQ( opened( hold ), "i2c-3" );
    EXPECT_EQ( hold.takeNotice(), "the adapter /dev/i2c-1 (\"host\") is back as /dev/i2c-3" );
}

TEST_F( AdapterHoldTest, APathThatLeadsElsewhereIsNotFollowed ) {
    kernel.add( 1, "host", "pci0/1f" );
    kernel.add( 2, "other", "pci0/2" );
    kernel.files[ "/dev/board-bus" ] = 1;
    auto hold = holdOn( { By::Path, 0, "/dev/board-bus" } );
    kernel.files[ "/dev/board-bus" ] = 2;
    EXPECT_EQ( opened( hold ), "i2c-1" );
    kernel.files.erase( "/dev/board-bus" );
    EXPECT_EQ( opened( hold ), "i2c-1" );
}

TEST_F( AdapterHoldTest, NoTwoBusesHaveTheSameAdapter ) {
    kernel.add( 1, "host" );
    kernel.files[ "/dev/board-bus" ] = 1;
    const auto first = holdOn( { By::Number, 1, "" }, "first" );
    for ( const AdapterSpec &spec :
          { AdapterSpec{ By::Name, 0, "host" }, AdapterSpec{ By::Path, 0, "/dev/board-bus" } } ) {
        try {
            holdOn( spec, "second" );
            ADD_FAILURE() << spec.describe();
        } catch ( const smbusd::AdapterTaken &error ) {
            EXPECT_STREQ( error.what(), "/dev/i2c-1 (\"host\") is bus \"first\" already" );
        }
    }
}

TEST_F( AdapterHoldTest, NorWhenItComesLater ) {
    auto first = holdOn( { By::Number, 1, "" }, "first" );
    auto second = holdOn( { By::Name, 0, "host" }, "second" );
    kernel.add( 1, "host" );
    EXPECT_EQ( opened( second ), "i2c-1" );
    EXPECT_EQ( opened( first ), "/dev/i2c-1 (\"host\") is bus \"second\" already" );
    // A bus that has moved on leaves its place to another.
    kernel.remove( 1 );
    kernel.add( 1, "new", "pci0/9" );
    kernel.add( 5, "host" );
    EXPECT_EQ( opened( second ), "i2c-5" );
    EXPECT_EQ( opened( first ), "i2c-1" );
}

TEST_F( AdapterHoldTest, AnAdapterThatSysfsDoesNotKnowIsNotUsed ) {
    kernel.add( 1, "host" );
    kernel.removeSysfs();
    auto hold = holdOn( { By::Number, 1, "" } );
    EXPECT_EQ( opened( hold ), "/dev/i2c-1: the adapter is gone" );
}

} // namespace
