/** What each kind can read and set, on records of the fake library. */
#include "orvan/kinds/Kind.h"

#include <gmock/gmock.h>

#include "orvan/base/Errors.h"
#include "tests/orvan/fakes/FakeBoard.h"

namespace {

using orvan::BadInput;
using orvan::Peripheral;
using orvan::Readout;
using testing::ElementsAre;
using testing::ThrowsMessage;

class KindTest : public testing::Test {
  protected:
    using Arguments = std::map<std::string, std::string>;

    Peripheral &use( const std::string &kind, const Arguments &args = {},
                     const std::vector<Arguments> &parts = {} ) {
        std::string device = "{";
        for ( const auto &[ key, value ] : args ) {
            device += ( device == "{" ? "\"" : ",\"" ) + key + "\":\"" + value + "\"";
        }
        orvan::PeripheralDescription &description = board_.add( kind, "it", device + "}" );
        description.args = args;
        description.parts = parts;
        Peripheral &peripheral = board_.session().use( "it" );
        board_.state().calls.clear();
        return peripheral;
    }

    /** All readings as shown, each "name value". */
    std::vector<std::string> readings( const Peripheral &peripheral ) {
        Readout readout( peripheral );
        std::vector<std::string> texts;
        for ( const orvan::Reading &reading : peripheral.kind->readings( peripheral ) ) {
            texts.push_back( std::string( reading.name ) + " " +
                             valueText( reading, board_.session().read( reading, readout ) ) );
        }
        return texts;
    }

    pl_status set( Peripheral &peripheral, const std::string &name, const std::string &text ) {
        for ( const orvan::Setting &setting : peripheral.kind->settings( peripheral ) ) {
            if ( name == setting.name ) {
                return setting.apply( peripheral, text );
            }
        }
        ADD_FAILURE() << "no setting " << name;
        return PL_STATUS_OK;
    }

    std::vector<std::string> takeCalls() { return std::exchange( board_.state().calls, {} ); }

    test::FakeBoard board_;
    FakeState &state_ = board_.state();
};

TEST( Kind, AreFoundByName ) {
    for ( const char *name :
          { "gpio", "led", "fan", "temp_sensor", "xcvr", "psu", "slot", "smbus", "system" } ) {
        const orvan::Kind *kind = orvan::findKind( name );
        ASSERT_NE( kind, nullptr ) << name;
        EXPECT_EQ( kind->initSymbol, "pl_" + std::string( name ) + "_init" );
        EXPECT_EQ( kind->addSymbol, "pl_" + std::string( name ) + "_add" );
    }
    EXPECT_EQ( orvan::findKind( "Fan" ), nullptr );
    EXPECT_EQ( orvan::kinds().size(), 9u );
}

TEST_F( KindTest, Gpio ) {
    Peripheral &line = use( "gpio" );
    state_.number = 1;
    EXPECT_THAT( readings( line ), ElementsAre( "value 1" ) );
    for ( const char *text : { "on", "1", "off", "0" } ) {
        EXPECT_EQ( set( line, "", text ), PL_STATUS_OK );
    }
    EXPECT_THAT( takeCalls(),
                 ElementsAre( "bit_read", "bit_set", "bit_set", "bit_clear", "bit_clear" ) );
    EXPECT_THAT(
        [ & ] { set( line, "", "2" ); },
        ThrowsMessage<BadInput>( "a GPIO line cannot be set to \"2\"; expected on, off, 1 or 0" ) );
    state_.status = PL_STATUS_TRANSPORT;
    EXPECT_THAT( readings( line ), ElementsAre( "value transport" ) );
    EXPECT_EQ( set( line, "", "on" ), PL_STATUS_TRANSPORT );
}

TEST_F( KindTest, Led ) {
    Peripheral &light = use( "led" );
    EXPECT_THAT( readings( light ), ElementsAre( "setting -", "blinking -" ) );
    const char *names[] = { "off", "good", "warning", "bad", "inactive", "unknown", "beacon" };
    for ( unsigned i = 0; i < 7; ++i ) {
        EXPECT_EQ( set( light, "", names[ i ] ), PL_STATUS_OK );
        EXPECT_THAT( takeCalls(), ElementsAre( "set_light_setting " + std::to_string( i ) ) );
    }
    light.lastSetting = "beacon";
    EXPECT_THAT( readings( light ), ElementsAre( "setting beacon", "blinking yes" ) );
    light.lastSetting = "good";
    EXPECT_THAT( readings( light ), ElementsAre( "setting good", "blinking no" ) );
    EXPECT_THAT(
        [ & ] { set( light, "", "green" ); },
        ThrowsMessage<BadInput>( "an LED cannot be set to \"green\"; expected off, good, warning, "
                                 "bad, inactive, unknown or beacon" ) );
}

TEST_F( KindTest, Fan ) {
    Peripheral &fan = use( "fan", { { "maxRpm", "25000" } } );
    state_.number = 9000;
    EXPECT_THAT( readings( fan ),
                 ElementsAre( "rpm 9000", "percent 36", "stalled no", "debug -" ) );
    EXPECT_THAT( takeCalls(), ElementsAre( "get_rpm", "debug_info" ) ) << "the speed is read once";
    state_.text = "tacho 2";
    EXPECT_EQ( readings( fan ).back(), "debug tacho 2" );
    takeCalls();
    set( fan, "rpm", "9000" );
    set( fan, "rpm", "40%" );
    set( fan, "rpm", "0%" );
    set( fan, "rpm", "100%" );
    set( fan, "rpm", "-5" ); // the drivers have an answer of their own
    EXPECT_THAT( takeCalls(), ElementsAre( "set_rpm 9000", "set_rpm 10000", "set_rpm 0",
                                           "set_rpm 25000", "set_rpm -5" ) );
    for ( const char *text : { "", "fast", "9000rpm", "1.5", "%", "9999999999" } ) {
        EXPECT_THAT( [ & ] { set( fan, "rpm", text ); },
                     ThrowsMessage<BadInput>( "a fan's speed cannot be \"" + std::string( text ) +
                                              "\"; expected revolutions per minute, or a "
                                              "percentage as 60%" ) );
    }
    EXPECT_THAT( [ & ] { set( fan, "rpm", "101%" ); },
                 ThrowsMessage<BadInput>( "a fan cannot run at 101%; expected 0% to 100%" ) );
}

TEST_F( KindTest, AStalledFanIsNoFailure ) {
    Peripheral &fan = use( "fan", { { "maxFanRpm", "18000" } } );
    state_.status = PL_STATUS_FAULT;
    EXPECT_THAT( readings( fan ),
                 ElementsAre( "rpm fault", "percent fault", "stalled yes", "debug fault" ) );
    state_.status = PL_STATUS_FAILED;
    EXPECT_THAT( readings( fan ),
                 ElementsAre( "rpm failed", "percent failed", "stalled failed", "debug failed" ) );
}

TEST_F( KindTest, FansOfABmcCannotBeSet ) {
    board_.add( "fan", "it" ).driver = "Ipmi";
    const Peripheral &fan = board_.session().use( "it" );
    EXPECT_TRUE( fan.kind->settings( fan ).empty() );
}

TEST_F( KindTest, AFanWithoutAMaximumHasNoPercentage ) {
    Peripheral &fan = use( "fan" );
    state_.number = 9000;
    EXPECT_EQ( readings( fan )[ 1 ], "percent -" );
    EXPECT_THAT( [ & ] { set( fan, "rpm", "50%" ); },
                 ThrowsMessage<BadInput>(
                     "the fan's description names no maximum speed to take a percentage of" ) );
}

TEST_F( KindTest, TemperatureSensor ) {
    orvan::PeripheralDescription &description = board_.add( "temp_sensor", "it" );
    description.alert = 75;
    description.critical = 90;
    Peripheral &sensor = board_.session().use( "it" );
    state_.real = 41.25f;
    EXPECT_THAT( readings( sensor ),
                 ElementsAre( "temperature 41.2", "alert 75.0", "critical 90.0" ) );
    state_.status = PL_STATUS_NOT_PRESENT;
    EXPECT_EQ( readings( sensor ).front(), "temperature not present" );
}

TEST_F( KindTest, SfpCage ) {
    Peripheral &cage = use( "xcvr", { { "type", "sfp+" } } );
    state_.presence = 1;
    state_.number = 1;
    EXPECT_THAT( readings( cage ),
                 ElementsAre( "type sfp", "present 1", "los 1", "txfault 1", "txdisable 1" ) );
    EXPECT_THAT( takeCalls(),
                 ElementsAre( "get_presence", "get_rx_los", "get_tx_fault", "get_tx_disable" ) );
    set( cage, "txdisable", "on" );
    set( cage, "txdisable", "off" );
    EXPECT_THAT( takeCalls(), ElementsAre( "set_tx_disable 1", "set_tx_disable 0" ) );
    state_.presence = PL_STATUS_TRANSPORT;
    EXPECT_EQ( readings( cage )[ 1 ], "present transport" );
    state_.presence = 99;
    EXPECT_EQ( readings( cage )[ 1 ], "present failed" ) << "no status either";
    EXPECT_THAT( [ & ] { set( cage, "txdisable", "maybe" ); },
                 ThrowsMessage<BadInput>(
                     "txdisable cannot be set to \"maybe\"; expected on, off, 1 or 0" ) );
}

TEST_F( KindTest, QsfpCage ) {
    Peripheral &cage = use( "xcvr", { { "type", "qsfp" } } );
    EXPECT_THAT( readings( cage ), ElementsAre( "type qsfp", "present 0", "reset 0", "lpmode 0",
                                                "modsel 0", "interrupt 0" ) );
    EXPECT_THAT( takeCalls(), ElementsAre( "get_presence", "get_reset", "get_lp_mode",
                                           "get_mod_sel", "get_interrupt" ) );
    set( cage, "reset", "on" );
    set( cage, "lpmode", "off" );
    set( cage, "modsel", "1" );
    EXPECT_THAT( takeCalls(), ElementsAre( "set_reset 1", "set_lp_mode 0", "set_mod_sel 1" ) );
}

TEST_F( KindTest, PowerSupply ) {
    Peripheral &psu = use( "psu" );
    state_.number = 1;
    state_.real = 0.5f; // each measurement adds ten times its place in the table
    EXPECT_THAT( readings( psu ),
                 ElementsAre( "powergood 1", "vin 30.50", "iin 10.500", "pin 50.5", "vout 40.500",
                              "iout 20.50", "pout 60.5", "efficiency 119.8" ) );
    EXPECT_EQ( takeCalls().size(), 7u ) << "each measurement is asked once";
    state_.real = -50;
    EXPECT_EQ( readings( psu ).back(), "efficiency -" ) << "no input power";
    state_.status = PL_STATUS_FAULT;
    EXPECT_EQ( readings( psu ).front(), "powergood fault" );
    EXPECT_EQ( readings( psu ).back(), "efficiency -" );
}

TEST_F( KindTest, PlainSlot ) {
    Peripheral &slot = use( "slot" );
    state_.text = "FDL";
    EXPECT_THAT( readings( slot ), ElementsAre( "present 1", "fdl FDL" ) );
    EXPECT_EQ( takeCalls().size(), 1u );
    state_.text = nullptr;
    EXPECT_THAT( readings( slot ), ElementsAre( "present 1", "fdl -" ) );
    state_.status = PL_STATUS_NOT_PRESENT;
    EXPECT_THAT( readings( slot ), ElementsAre( "present 0", "fdl -" ) );
    state_.status = PL_STATUS_TRANSPORT;
    EXPECT_THAT( readings( slot ), ElementsAre( "present transport", "fdl transport" ) );
}

TEST_F( KindTest, FanTray ) {
    Peripheral &slot = use( "slot", { { "fanFdl", "{airflowDirection}/{maxRpm}/{modelName}" } } );
    state_.text = "frontToBack/25000/FAN-7000";
    EXPECT_THAT( readings( slot ),
                 ElementsAre( "present 1", "airflow frontToBack", "model FAN-7000",
                              "fdl frontToBack/25000/FAN-7000" ) );
}

TEST_F( KindTest, SupplySlot ) {
    Peripheral &slot = use( "slot", { { "psuFdl_1", "one {serialNum}" },
                                      { "model_1", "M1" },
                                      { "psuFdl_2", "two {serialNum}" },
                                      { "model_2", "M2" } } );
    state_.text = "two S77";
    EXPECT_THAT( readings( slot ),
                 ElementsAre( "present 1", "model M2", "serial S77", "fdl two S77" ) );
}

TEST_F( KindTest, SlotOfSeveralParts ) {
    const Arguments first = { { "psuFdl_1", "one {serialNum}" }, { "model_1", "M1" } };
    const Arguments second = { { "psuFdl_1", "two {serialNum}" }, { "model_1", "M2" } };
    Peripheral &slot = use( "slot", { { "id", "1" } }, { first, second } );
    state_.text = "two S77";
    EXPECT_THAT( readings( slot ),
                 ElementsAre( "present 1", "model M2", "serial S77", "fdl two S77" ) );
    state_.text = "one S78";
    EXPECT_THAT( readings( slot ),
                 ElementsAre( "present 1", "model M1", "serial S78", "fdl one S78" ) );
}

TEST_F( KindTest, System ) {
    Peripheral &system = use( "system" );
    EXPECT_THAT( readings( system ), ElementsAre( "reloadcause watchdog" ) );
    state_.status = PL_STATUS_UNSUPPORTED;
    EXPECT_THAT( readings( system ), ElementsAre( "reloadcause unsupported" ) );
}

TEST_F( KindTest, AnEmptyTableIsUnsupportedAndNotCalled ) {
    state_.shortTables = true;
    Peripheral &line = use( "gpio" );
    EXPECT_THAT( readings( line ), ElementsAre( "value unsupported" ) );
    EXPECT_EQ( set( line, "", "on" ), PL_STATUS_UNSUPPORTED );
    EXPECT_THAT( takeCalls(), ElementsAre() );
}

TEST_F( KindTest, AnEmptyTransceiverTableIsUnsupportedAndNotCalled ) {
    state_.shortTables = true;
    Peripheral &cage = use( "xcvr", { { "type", "sfp" } } );
    EXPECT_THAT( readings( cage ),
                 ElementsAre( "type sfp", "present unsupported", "los unsupported",
                              "txfault unsupported", "txdisable unsupported" ) );
    EXPECT_THAT( takeCalls(), ElementsAre() );
}

TEST( Kind, ValuesAreShownWithTheirDecimals ) {
    const orvan::Reading reading{ "r", "", 2, nullptr };
    EXPECT_EQ( valueText( reading, orvan::Value::of( 1.005 ) ), "1.00" );
    EXPECT_EQ( valueText( reading, orvan::Value::of( -3ll ) ), "-3" );
    EXPECT_EQ( valueText( reading, orvan::Value::failed( PL_STATUS_FAILED ) ), "failed" );
    orvan::Value thrown;
    thrown.exception = "X: y";
    EXPECT_EQ( valueText( reading, thrown ), "threw X: y" );
}

TEST( Kind, AnArgumentThatIsNoNumberCountsAsMissing ) {
    orvan::PeripheralDescription description;
    description.args = { { "maxRpm", "fast" }, { "id", "-3" }, { "empty", "" } };
    Peripheral peripheral;
    peripheral.description = &description;
    const Readout readout( peripheral );
    EXPECT_EQ( readout.argument( "maxRpm", 7 ), 7 );
    EXPECT_EQ( readout.argument( "empty", 7 ), 7 );
    EXPECT_EQ( readout.argument( "none", 7 ), 7 );
    EXPECT_EQ( readout.argument( "id", 7 ), -3 );
}

TEST( Kind, WhatSeveralReadingsNeedIsAskedOnce ) {
    const Peripheral peripheral;
    Readout readout( peripheral );
    int asked = 0;
    const auto ask = [ &asked ] { return orvan::Value::of( static_cast<long long>( ++asked ) ); };
    EXPECT_EQ( std::get<long long>( readout.once( "a", ask ).data ), 1 );
    EXPECT_EQ( std::get<long long>( readout.once( "b", ask ).data ), 2 );
    EXPECT_EQ( std::get<long long>( readout.once( "a", ask ).data ), 1 );
    EXPECT_EQ( asked, 2 );
}

TEST( Kind, AnswersKeepTheirNumberOnlyWithAGoodStatus ) {
    EXPECT_EQ( std::get<long long>( orvan::Value::answer( PL_STATUS_OK, 7 ).data ), 7 );
    EXPECT_EQ( std::get<double>( orvan::Value::answer( PL_STATUS_OK, 0.5f ).data ), 0.5 );
    const orvan::Value failed = orvan::Value::answer( PL_STATUS_FAULT, 7 );
    EXPECT_EQ( failed.status, PL_STATUS_FAULT );
    EXPECT_TRUE( std::holds_alternative<std::monostate>( failed.data ) );
}

TEST_F( KindTest, FanSpeedsAreRoundedToWholePercentages ) {
    Peripheral &fan = use( "fan", { { "maxRpm", "3" } } );
    for ( const auto &[ rpm, percent ] : { std::pair( 0, "0" ), std::pair( 1, "33" ),
                                           std::pair( 2, "67" ), std::pair( 3, "100" ) } ) {
        state_.number = rpm;
        EXPECT_EQ( readings( fan )[ 1 ], std::string( "percent " ) + percent );
    }
}

TEST_F( KindTest, ATemplateWithoutAModelShowsNone ) {
    Peripheral &slot = use( "slot", { { "psuFdl_1", "{serialNum}" } } );
    state_.text = "S1";
    EXPECT_THAT( readings( slot ), ElementsAre( "present 1", "model -", "serial S1", "fdl S1" ) )
        << "a template without a model";
}

TEST_F( KindTest, EveryKindsEmptyTableIsUnsupported ) {
    state_.shortTables = true;
    for ( const char *kind : { "led", "fan", "temp_sensor", "psu", "slot", "system" } ) {
        board_.add( kind, kind );
    }
    orvan::Session &session = board_.session();
    EXPECT_EQ( set( session.use( "led" ), "", "good" ), PL_STATUS_UNSUPPORTED );
    EXPECT_EQ( set( session.use( "fan" ), "rpm", "1" ), PL_STATUS_UNSUPPORTED );
    EXPECT_THAT( readings( session.use( "fan" ) ),
                 ElementsAre( "rpm unsupported", "percent unsupported", "stalled unsupported",
                              "debug unsupported" ) );
    EXPECT_EQ( readings( session.use( "temp_sensor" ) ).front(), "temperature unsupported" );
    EXPECT_THAT( readings( session.use( "slot" ) ),
                 ElementsAre( "present unsupported", "fdl unsupported" ) );
    EXPECT_THAT( readings( session.use( "system" ) ), ElementsAre( "reloadcause unsupported" ) );
    EXPECT_EQ( readings( session.use( "psu" ) ).front(), "powergood unsupported" );
}

} // namespace
