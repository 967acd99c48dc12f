#include "OrvanGeneric/Drivers/FieldDataCache.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/FakeHost.h"
#include "tests/support/MemoryLimit.h"

namespace {

class FieldDataCacheTest : public testing::Test {
  protected:
    FieldDataCacheTest() { host_.traces.clear(); }

    /** What the host gets of the kept text; it frees it. */
    static std::string kept( const Drivers::FieldDataCache &cache ) {
        char *fdl = nullptr;
        EXPECT_EQ( cache.copyKept( &fdl ), PL_STATUS_OK );
        const std::string text = fdl ? fdl : "<null>";
        std::free( fdl );
        return text;
    }

    FakeHost &host_ = FakeHost::instance();
    Drivers::FieldDataCache cache_{ "Error: no memory for 100% of it" };
};

TEST_F( FieldDataCacheTest, KeepsTheLastText ) {
    EXPECT_FALSE( cache_.filled() );
    cache_.keep( "a fan" );
    EXPECT_TRUE( cache_.filled() );
    EXPECT_EQ( kept( cache_ ), "a fan" );
    cache_.keep( "another, longer fan" );
    EXPECT_EQ( kept( cache_ ), "another, longer fan" );
    EXPECT_EQ( kept( cache_ ), "another, longer fan" );
    EXPECT_TRUE( host_.traces.empty() );
}

TEST_F( FieldDataCacheTest, KeepsACopyAndGivesCopies ) {
    std::string text = "a fan";
    cache_.keep( text.c_str() );
    text = "other";
    char *first = nullptr;
    ASSERT_EQ( cache_.copyKept( &first ), PL_STATUS_OK );
    first[ 0 ] = 'X';
    EXPECT_EQ( kept( cache_ ), "a fan" );
    cache_.forget();
    EXPECT_STREQ( first, "X fan" );
    std::free( first );
}

TEST_F( FieldDataCacheTest, AnEmptyTextCountsAsNoneButIsGiven ) {
    cache_.keep( "" );
    EXPECT_FALSE( cache_.filled() );
    EXPECT_EQ( kept( cache_ ), "" );
}

TEST_F( FieldDataCacheTest, AForgottenTextIsNotGiven ) {
    cache_.keep( "a fan" );
    cache_.forget();
    EXPECT_FALSE( cache_.filled() );
    char untouched[] = "untouched";
    char *fdl = untouched;
    EXPECT_EQ( cache_.copyKept( &fdl ), PL_STATUS_FAILED );
    EXPECT_EQ( fdl, untouched );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Error: no memory for 100% of it" } } ) );
}

TEST_F( FieldDataCacheTest, CopiesOtherTextsWithoutKeepingThem ) {
    cache_.keep( "a fan" );
    char *fdl = nullptr;
    EXPECT_EQ( cache_.copy( "a supply", &fdl ), PL_STATUS_OK );
    EXPECT_STREQ( fdl, "a supply" );
    std::free( fdl );
    EXPECT_EQ( kept( cache_ ), "a fan" );
}

TEST_F( FieldDataCacheTest, WithoutATextForItFailureIsNotTraced ) {
    const Drivers::FieldDataCache silent;
    char *fdl = nullptr;
    EXPECT_EQ( silent.copyKept( &fdl ), PL_STATUS_FAILED );
    EXPECT_EQ( fdl, nullptr );
    EXPECT_TRUE( host_.traces.empty() );
}

#ifndef __SANITIZE_ADDRESS__

TEST_F( FieldDataCacheTest, WithoutMemoryNothingIsGiven ) {
    const std::string text( MemoryLimit::tooMuch, 'x' );
    cache_.keep( text.c_str() );
    char *fdl = nullptr;
    pl_status ofKept, ofText;
    {
        const MemoryLimit limit;
        ofKept = cache_.copyKept( &fdl );
        ofText = cache_.copy( text.c_str(), &fdl );
    }
    EXPECT_EQ( ofKept, PL_STATUS_FAILED );
    EXPECT_EQ( ofText, PL_STATUS_FAILED );
    EXPECT_EQ( fdl, nullptr );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Error: no memory for 100% of it" },
                                       { 0, "Error: no memory for 100% of it" } } ) );
    EXPECT_EQ( kept( cache_ ), text );
}

TEST_F( FieldDataCacheTest, WithoutMemoryNothingIsKept ) {
    const std::string text( MemoryLimit::tooMuch, 'x' );
    cache_.keep( "a fan" );
    {
        const MemoryLimit limit;
        cache_.keep( text.c_str() );
    }
    EXPECT_FALSE( cache_.filled() );
    EXPECT_TRUE( host_.traces.empty() );
    char *fdl = nullptr;
    EXPECT_EQ( cache_.copyKept( &fdl ), PL_STATUS_FAILED );
    EXPECT_EQ( fdl, nullptr );
}

#endif

} // namespace
