#include "smbusd/linux/AdapterDirectory.h"

#include <gtest/gtest.h>

#include "tests/support/FakeKernel.h"

namespace {

using smbusd::AdapterDirectory;
using smbusd::AdapterIdentity;

TEST( AdapterDirectory, TellsAnAdaptersNameAndPlace ) {
    test::FakeKernel kernel;
    kernel.add( 3, "SMBus I801 adapter at 0700", "pci0000:00/0000:00:1f.3" );
    const AdapterDirectory directory( kernel.calls()->sysfs );
    const auto identity = directory.identityOf( 3 );
    ASSERT_TRUE( identity );
    EXPECT_EQ( identity->name, "SMBus I801 adapter at 0700" );
    EXPECT_TRUE( identity->parent.ends_with( "/devices/pci0000:00/0000:00:1f.3" ) )
        << identity->parent;
    EXPECT_FALSE( directory.identityOf( 2 ) );
}

TEST( AdapterDirectory, ListsAdaptersByNumberAndNothingElse ) {
    test::FakeKernel kernel;
    kernel.add( 10, "ten" );
    kernel.add( 9, "nine" );
    kernel.bind( 9, 0x50, "at24" );
    const auto all = AdapterDirectory( kernel.calls()->sysfs ).all();
    ASSERT_EQ( all.size(), 2u );
    EXPECT_EQ( all[ 0 ].number, 9u );
    EXPECT_EQ( all[ 0 ].identity.name, "nine" );
    EXPECT_EQ( all[ 1 ].number, 10u );
}

TEST( AdapterDirectory, WithoutSysfsThereIsNothing ) {
    test::FakeKernel kernel;
    kernel.removeSysfs();
    const AdapterDirectory directory( kernel.calls()->sysfs );
    EXPECT_TRUE( directory.all().empty() );
    EXPECT_FALSE( directory.identityOf( 0 ) );
    EXPECT_EQ( directory.driverOf( 0, 0x50 ), "" );
}

TEST( AdapterDirectory, NamesTheDriverOfADevice ) {
    test::FakeKernel kernel;
    kernel.add( 1, "one" );
    kernel.bind( 1, 0x50, "at24" );
    const AdapterDirectory directory( kernel.calls()->sysfs );
    EXPECT_EQ( directory.driverOf( 1, 0x50 ), "at24" );
    EXPECT_EQ( directory.driverOf( 1, 0x51 ), "" );
}

TEST( AdapterDirectory, APluggedInUsbAdapterGetsOtherNumbersInItsName ) {
    const std::string place = "/sys/devices/pci0000:00/usb1/1-1/1-1:1.0";
    const AdapterIdentity before{ "i2c-tiny-usb at bus 001 device 004", place };
    EXPECT_TRUE( before.replugged( { "i2c-tiny-usb at bus 001 device 017", place } ) );
    EXPECT_FALSE( before.replugged( { "i2c-tiny-usb at bus 001 device 017", place + "x" } ) );
    EXPECT_FALSE( before.replugged( { "diolan-u2c at bus 001 device 004", place } ) );
    // The ports of one controller differ in a number, too.
    const std::string pci = "/sys/devices/pci0000:00/0000:00:14.0";
    EXPECT_FALSE( ( AdapterIdentity{ "SMBus PIIX4 adapter port 0 at 0b00", pci } )
                      .replugged( { "SMBus PIIX4 adapter port 2 at 0b00", pci } ) );
}

} // namespace
