/** What the drivers of transceiver cages have in common, for each of them by its own map of ports and lines. */
#include <fmt/core.h>
#include <gtest/gtest.h>

#include "tests/OrvanGeneric/Drivers/Mirelund/CageFixture.h"

namespace {

using namespace cages;

class CageDriverTest : public CageFixture {
  protected:
    void readsNibble( Cage &cage, const Position &position, unsigned nibble );
    void writesLine( Cage &cage, const Position &position, const Signal &signal, unsigned offset );
    void failsToWrite( Cage &cage, const Position &position, const Signal &signal, unsigned offset,
                       pl_status status );
};

void CageDriverTest::readsNibble( Cage &cage, const Position &position, unsigned nibble ) {
    for ( const auto &[ signal, offset ] : driver_.nibble.lines ) {
        int value = -1;
        EXPECT_EQ( signal.get( cage, &value ), PL_STATUS_OK );
        EXPECT_EQ( value, ( nibble >> offset & 1 ) != signal.activeLow ? 1 : 0 ) << signal.name;
    }
    EXPECT_EQ( cage.getPresence(), nibble >> driver_.nibble.presence & 1 ? 1 : 0 );
    const Log once = { "prepare", fmt::format( "read8 0x{:02x}", position.place ), "execute" };
    EXPECT_EQ( ham_.takeLog(), chip_.isCpld ? Log{} : once );
}

TEST_P( CageDriverTest, EachCageReadsItsOwnNibble ) {
    for ( unsigned id = driver_.firstId; id <= driver_.lastId; ++id ) {
        Cage each = cage( id );
        for ( const bool rest : { false, true } ) {
            for ( unsigned nibble = 0; nibble <= 0xF; ++nibble ) {
                SCOPED_TRACE( fmt::format( "cage {}, {:x}, others {}", id, nibble, rest ) );
                setNibble( positionOf( id ), nibble, rest );
                readsNibble( each, positionOf( id ), nibble );
            }
        }
    }
}

void CageDriverTest::writesLine( Cage &cage, const Position &position, const Signal &signal,
                                 unsigned offset ) {
    const unsigned before = written( position );
    const unsigned mask = 1u << ( position.bit + offset );
    for ( const int value : { 1, 0, 7, 0, 2 } ) {
        EXPECT_EQ( signal.set( cage, value ), PL_STATUS_OK );
        const unsigned wanted = ( value != 0 ) != signal.activeLow ? before | mask : before & ~mask;
        EXPECT_EQ( written( position ), wanted );
        EXPECT_EQ( ham_.takeLog(), writing( position, wanted ) );
        letPinsFollow( position );
        int readBack = -1;
        EXPECT_EQ( signal.get( cage, &readBack ), PL_STATUS_OK );
        EXPECT_EQ( readBack, value != 0 ? 1 : 0 );
        ham_.takeLog();
    }
}

TEST_P( CageDriverTest, EachCageWritesItsOwnLinesAndReadsThemBack ) {
    for ( unsigned id = driver_.firstId; id <= driver_.lastId; ++id ) {
        Cage each = cage( id );
        for ( const auto &[ signal, offset ] : driver_.nibble.lines ) {
            for ( const unsigned nibble : { 0x0u, 0x6u, 0x9u, 0xFu } ) {
                for ( const bool rest : { false, true } ) {
                    SCOPED_TRACE( fmt::format( "cage {}, {}, {:x}", id, signal.name, nibble ) );
                    setNibble( positionOf( id ), nibble, rest );
                    if ( signal.set ) {
                        writesLine( each, positionOf( id ), signal, offset );
                    }
                }
            }
        }
    }
}

void CageDriverTest::failsToWrite( Cage &cage, const Position &position, const Signal &signal,
                                   unsigned offset, pl_status status ) {
    setNibble( position, signal.activeLow ? 0xF : 0, true );
    const unsigned before = written( position );
    ham_.statuses = { status };
    EXPECT_EQ( signal.set( cage, 1 ), status );
    EXPECT_EQ( written( position ), before );
    EXPECT_EQ( ham_.takeLog(),
               failingToWrite( position, before ^ 1u << ( position.bit + offset ) ) );
    int value = -1;
    EXPECT_EQ( signal.get( cage, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0 );
    const Log traced = {
        fmt::format( "Error: status {} while reading output bank {}", status, position.place ),
        failure( "bitset()", position, offset ) };
    EXPECT_EQ( host_.texts( 0 ), chip_.isCpld ? Log{} : traced );
}

TEST_P( CageDriverTest, FailedWriteIsReturnedAndChangesNothing ) {
    for ( unsigned id = driver_.firstId; id <= driver_.lastId; ++id ) {
        Cage each = cage( id );
        for ( const auto &[ signal, offset ] : driver_.nibble.lines ) {
            for ( const pl_status status : { PL_STATUS_TRANSPORT, PL_STATUS_FAILED } ) {
                SCOPED_TRACE( fmt::format( "cage {}, {}, {}", id, signal.name, int( status ) ) );
                if ( signal.set ) {
                    failsToWrite( each, positionOf( id ), signal, offset, status );
                }
            }
        }
    }
}

TEST_P( CageDriverTest, CreatedCagesTraceTheirIds ) {
    for ( unsigned id = driver_.firstId; id <= driver_.lastId; ++id ) {
        forget();
        Cage each = cage( id );
        const char *kind = driver_.nibble.isSfp ? "Sfp" : "Qsfp";
        Traces traces = { { 5, fmt::format( "creating new {}Xcvr for id {}", kind, id ) } };
        if ( chip_.isCpld ) {
            const Position position = positionOf( id );
            traces.push_back( { 5, fmt::format( "id={} reg=0x{:x} bit={}", tracedId( id ),
                                                position.place, position.bit ) } );
        }
        EXPECT_EQ( host_.traces, traces );
        EXPECT_EQ( each.recordId(), id );
        EXPECT_TRUE( ham_.log.empty() );
    }
}

TEST_P( CageDriverTest, OperationsTraceTheirNamesAndTheCage ) {
    for ( unsigned id = driver_.firstId; id <= driver_.lastId; ++id ) {
        Cage each = cage( id );
        forget();
        Log expected;
        const auto expect = [ & ]( const char *verb, const char *name ) {
            expected.push_back( fmt::format( "{}{}{}(): id={}", verb, driver_.nibble.operations,
                                             name, tracedId( id ) ) );
        };
        each.getPresence();
        expect( "get", "Presence" );
        for ( const auto &[ signal, offset ] : driver_.nibble.lines ) {
            int value = -1;
            signal.get( each, &value );
            expect( "get", signal.name );
            if ( signal.set ) {
                signal.set( each, 1 );
                expect( "set", signal.name );
            }
        }
        Log operations;
        for ( const Trace &trace : host_.traces ) {
            if ( trace.text.find( "GPIOExpander" ) == std::string::npos ) {
                EXPECT_EQ( trace.level, 5 ) << trace.text;
                operations.push_back( trace.text );
            }
        }
        EXPECT_EQ( operations, expected );
    }
}

TEST_P( CageDriverTest, IdsBeyondTheBoundsAbort ) {
    const std::string assertion = fmt::format( "{}.cpp.*{}", chip_.driver, driver_.idAssertion );
    for ( const unsigned id : { driver_.firstId - 1, driver_.lastId + 1, driver_.firstId + 256,
                                driver_.lastId + 256 } ) {
        EXPECT_DEATH( cage( id ), assertion ) << id;
    }
}

INSTANTIATE_TEST_SUITE_P( All, CageDriverTest,
                          testing::Values( onCpldSfp, onCpldQsfp, onPca9698Sfp, onPca9698YQsfp,
                                           onPca9698ZQsfp, onPca9555Qsfp ),
                          []( const auto &driver ) { return driver.param.name; } );

using QsfpCageDriverTest = CageDriverTest;

TEST_P( QsfpCageDriverTest, ModuleSelectIsNotWired ) {
    for ( unsigned id = driver_.firstId; id <= driver_.lastId; ++id ) {
        const Cage each = cage( id );
        forget();
        int selected = -7;
        EXPECT_EQ( each.qsfp->getModSel( &selected ), PL_STATUS_OK );
        EXPECT_EQ( selected, -7 );
        EXPECT_EQ( each.qsfp->setModSel( 1 ), PL_STATUS_OK );
        EXPECT_TRUE( ham_.log.empty() );
        const std::string operation = std::string( driver_.nibble.operations ) + "ModSel(): id=";
        EXPECT_EQ( host_.traces,
                   ( Traces{ { 5, "get" + operation + std::to_string( tracedId( id ) ) },
                             { 5, "set" + operation + std::to_string( tracedId( id ) ) } } ) );
    }
}

INSTANTIATE_TEST_SUITE_P( All, QsfpCageDriverTest,
                          testing::Values( onCpldQsfp, onPca9698YQsfp, onPca9698ZQsfp,
                                           onPca9555Qsfp ),
                          []( const auto &driver ) { return driver.param.name; } );

using CageExpanderTest = CageDriverTest;

TEST_P( CageExpanderTest, FailedReadIsTracedAndLeavesTheOutput ) {
    for ( unsigned id = driver_.firstId; id <= driver_.lastId; ++id ) {
        Cage each = cage( id );
        const Position position = positionOf( id );
        const std::string reading = fmt::format( "while reading input bank {}", position.place );
        for ( const int status : { PL_STATUS_TRANSPORT, PL_STATUS_FAILED } ) {
            SCOPED_TRACE( fmt::format( "cage {}, {}", id, status ) );
            setNibble( position, 0, false );
            ham_.statuses = { status, status, status, status };
            const std::string error = fmt::format( "Error: status {} {}", status, reading );
            Log traced = { error, failure( "bitRead()", position, driver_.nibble.presence ) };
            EXPECT_EQ( each.getPresence(), status );
            for ( const auto &[ signal, offset ] : driver_.nibble.lines ) {
                int value = -7;
                EXPECT_EQ( signal.get( each, &value ), status );
                EXPECT_EQ( value, -7 ) << signal.name;
                traced.push_back( error );
                traced.push_back( failure( "bitRead()", position, offset ) );
            }
            EXPECT_EQ( host_.texts( 0 ), traced );
        }
    }
}

TEST_P( CageExpanderTest, FailedSaveIsTracedAndReturned ) {
    for ( unsigned id = driver_.firstId; id <= driver_.lastId; ++id ) {
        Cage each = cage( id );
        for ( const auto &[ signal, offset ] : driver_.nibble.lines ) {
            if ( !signal.set ) {
                continue;
            }
            SCOPED_TRACE( fmt::format( "cage {}, {}", id, signal.name ) );
            host_.traces.clear();
            ham_.statuses = { 0, PL_STATUS_TRANSPORT };
            EXPECT_EQ( signal.set( each, 1 ), PL_STATUS_TRANSPORT );
            EXPECT_EQ( host_.texts( 0 ),
                       ( Log{ "Error: status 4 writing to GPIOExpander",
                              failure( "bitset()", positionOf( id ), offset ) } ) );
        }
    }
}

TEST_P( CageExpanderTest, PinsAreFreshForTwoSeconds ) {
    Cage last = cage( driver_.lastId );
    const Position position = positionOf( driver_.lastId );
    const unsigned present = 1u << driver_.nibble.presence;
    const Log reading = { "prepare", fmt::format( "read8 0x{:02x}", position.place ), "execute" };
    setNibble( position, present, false );
    EXPECT_EQ( last.getPresence(), 1 );
    EXPECT_EQ( ham_.takeLog(), reading );
    hold( position.place, 0 );
    FakeTime::now += 2;
    EXPECT_EQ( last.getPresence(), 1 ) << "two seconds old is fresh";
    EXPECT_TRUE( ham_.log.empty() );
    FakeTime::now += 0.5;
    EXPECT_EQ( last.getPresence(), 0 );
    EXPECT_EQ( ham_.log, reading );
}

INSTANTIATE_TEST_SUITE_P( All, CageExpanderTest,
                          testing::Values( onPca9698Sfp, onPca9698YQsfp, onPca9698ZQsfp,
                                           onPca9555Qsfp ),
                          []( const auto &driver ) { return driver.param.name; } );

} // namespace
