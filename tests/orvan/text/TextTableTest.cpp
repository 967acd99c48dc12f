#include "orvan/text/TextTable.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

TEST( TextTable, ColumnsAreAsWideAsTheirWidestCell ) {
    orvan::TextTable table( { "fan", "rpm", "where" } );
    table.add( { "fan1", "9000", "bus 0" } );
    table.add( { "a-longer-name", "1" } );
    std::ostringstream out;
    table.print( out );
    EXPECT_EQ( out.str(), "fan            rpm   where\n"
                          "fan1           9000  bus 0\n"
                          "a-longer-name  1\n" );
}

TEST( TextTable, ControlCharactersCannotReachTheTerminal ) {
    EXPECT_EQ( orvan::oneLine( "a\nb\tc\x1b[2J\x7f" ), "a\\nb\\x09c\\x1b[2J\\x7f" );
    EXPECT_EQ( orvan::oneLine( "Grüße" ), "Grüße" );
}

TEST( TextTable, AHeaderAloneIsALine ) {
    std::ostringstream out;
    orvan::TextTable( { "fan", "rpm" } ).print( out );
    EXPECT_EQ( out.str(), "fan  rpm\n" );
}

TEST( TextTable, ARowMayBeLongerThanTheHeader ) {
    orvan::TextTable table( { "a" } );
    table.add( { "b", "c", "d" } );
    std::ostringstream out;
    table.print( out );
    EXPECT_EQ( out.str(), "a\n"
                          "b  c  d\n" );
}

TEST( TextTable, LinesEndWithoutBlanks ) {
    orvan::TextTable table( { "a", "" } );
    table.add( { "", "" } );
    table.add( { "b ", "" } );
    std::ostringstream out;
    table.print( out );
    EXPECT_EQ( out.str(), "a\n\nb\n" );
}

} // namespace
