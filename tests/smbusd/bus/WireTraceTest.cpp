#include "smbusd/bus/WireTrace.h"

#include <gtest/gtest.h>

namespace {

using smbusd::WireTrace;

TEST( WireTrace, WritesAMessageAsDataSheetsDo ) {
    WireTrace trace;
    trace.start( 0x58, false, false );
    trace.acknowledge( true );
    trace.byte( 0x8B );
    trace.acknowledge( true );
    trace.start( 0x58, true, true );
    trace.acknowledge( true );
    trace.byte( 0x0F );
    trace.acknowledge( false );
    trace.stop();
    EXPECT_EQ( trace.text(), "S 58 W A 8B A Sr 58 R A 0F N P" );
}

TEST( WireTrace, AlwaysShowsTwoDigits ) {
    WireTrace trace;
    trace.start( 0x03, true, false );
    trace.byte( 0 );
    trace.byte( 0xFF );
    EXPECT_EQ( trace.text(), "S 03 R 00 FF" );
}

TEST( WireTrace, NotesStandAloneOrAfterWhatWas ) {
    WireTrace trace;
    trace.note( "bus stuck" );
    EXPECT_EQ( trace.text(), "(bus stuck)" );
    trace.clear();
    EXPECT_EQ( trace.text(), "" );
    trace.start( 0x20, false, false );
    trace.note( "clock held" );
    EXPECT_EQ( trace.text(), "S 20 W (clock held)" );
}

} // namespace
