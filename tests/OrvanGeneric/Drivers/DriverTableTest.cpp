/** Every row of the table of drivers, held against the driver that the registry makes for its key. */
#include <algorithm>
#include <functional>
#include <set>

#include <gmock/gmock.h>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/Drivers/DriverRows.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/DriverBench.h"

namespace {

using namespace Drivers::Table;
using Args = DriverBench::Args;

/** A name that no device of the topology, no choice and no template has. */
constexpr const char *unfit = "nowhere";

std::string nameOf( const Argument &argument ) {
    const std::string name = argument.name;
    return name.back() == '_' ? name + "1" : name;
}

/** A text that the argument takes. */
std::string goodText( const Argument &argument ) {
    std::string text;
    switch ( argument.type ) {
    case ArgType::Integer:
        return std::to_string( argument.minimum );
    case ArgType::Flag:
        return "true";
    case ArgType::OneOf:
        return argument.choices[ 0 ];
    case ArgType::Text:
        return DriverBench::word;
    case ArgType::AnyText:
        return "";
    case ArgType::Template:
        for ( const char *key : argument.choices ) {
            text += key ? std::string( "{" ) + key + "}" : "";
        }
        return text;
    case ArgType::DeviceLabel:
        return DriverBench::linesLabel;
    }
    return text;
}

bool holds( const Condition &condition, const Args &args ) {
    const auto it = condition.argument ? args.find( condition.argument ) : args.end();
    switch ( condition.kind ) {
    case Condition::Always:
        return true;
    case Condition::Given:
        return it != args.end() || args.count( std::string( condition.argument ) + "1" );
    case Condition::NotGiven:
        return it == args.end();
    case Condition::HasText:
        return it != args.end() && it->second == condition.text;
    }
    return false;
}

enum Fill { OnlyRequired, Everything };

/** Gives @p args what the rules want, except for @p without. */
void fill( Args &args, std::span<const Argument> rules, Fill mode, const std::string &without ) {
    for ( const Argument &rule : rules ) {
        const std::string name = nameOf( rule );
        if ( name != without && ( rule.required || mode == Everything ) &&
             holds( rule.condition, args ) ) {
            args.emplace( name, goodText( rule ) );
        }
    }
}

/** One argument of one driver, for one thing that it makes or, without, for the driver itself. */
struct Case {
    const DriverRow *driver;
    const ServiceRow *service; ///< null: an argument of the creation
    const Argument *argument;
};

const char *const serviceNames[] = { "gpio", "led", "fan",  "temp_sensor", "sfp",
                                     "qsfp", "psu", "slot", "smbus",       "mux" };

std::string caseName( const Case &tested ) {
    std::string name = tested.driver->name;
    name += '_';
    name += tested.service ? serviceNames[ static_cast<int>( tested.service->service ) ] : "device";
    name += '_' + nameOf( *tested.argument );
    const Condition &condition = tested.argument->condition;
    if ( condition.kind == Condition::NotGiven ) {
        name += "_without_" + std::string( condition.argument );
    } else if ( condition.kind == Condition::HasText ) {
        name += "_for_" + std::string( condition.text );
    } else if ( condition.kind == Condition::Given ) {
        name += "_with_" + std::string( condition.argument );
    }
    std::replace( name.begin(), name.end(), '-', '_' );
    return name;
}
void PrintTo( const Case &tested, std::ostream *out ) {
    *out << caseName( tested );
}

template <typename Use>
void forEachArgument( Use use ) {
    for ( const DriverRow &driver : driverRows ) {
        for ( const Argument &argument : driver.creation ) {
            use( Case{ &driver, nullptr, &argument } );
        }
        for ( const ServiceRow &service : driver.services ) {
            for ( const Argument &argument : service.args ) {
                use( Case{ &driver, &service, &argument } );
            }
            for ( const Argument &argument : service.numbered ) {
                use( Case{ &driver, &service, &argument } );
            }
        }
    }
}

template <typename Wanted>
std::vector<Case> casesWhere( Wanted wanted ) {
    std::vector<Case> cases;
    forEachArgument( [ & ]( const Case &tested ) {
        if ( wanted( *tested.argument ) ) {
            cases.push_back( tested );
        }
    } );
    return cases;
}

/** The driver with its argument set or left out, everything else in order. */
class DriverArgument : public testing::TestWithParam<Case> {
  protected:
    const Argument &argument() const { return *GetParam().argument; }

    /** Null leaves the argument out. */
    void describe( Fill mode, const std::string *value ) {
        const std::string name = nameOf( argument() );
        Args args = conditionArgs();
        if ( value ) {
            args[ name ] = *value;
        }
        creation_ = args;
        fill( creation_, GetParam().driver->creation, mode, name );
        serviceArgs_ = args;
        if ( GetParam().service ) {
            fillService( serviceArgs_, *GetParam().service, mode, name );
        }
    }
    void describe( Fill mode, const std::string &value ) { describe( mode, &value ); }

    /** Makes the driver and what it serves: the tested service, or all. False: nothing was made. */
    bool make( DriverBench &bench ) const {
        if ( !bench.create( GetParam().driver->name, creation_ ) ) {
            return false;
        }
        bool made = true;
        for ( const ServiceRow &service : GetParam().driver->services ) {
            if ( GetParam().service ) {
                if ( GetParam().service == &service ) {
                    made = made && bench.add( service.service, merged( serviceArgs_ ) );
                }
                continue;
            }
            Args args;
            fillService( args, service, OnlyRequired, "" );
            made = made && bench.add( service.service, merged( args ) );
        }
        return made;
    }

    /** Everything that can be seen of the driver with the argument so. */
    std::vector<std::string> behaviour( Fill mode, const std::string *value ) {
        describe( mode, value );
        DriverBench bench;
        EXPECT_TRUE( make( bench ) );
        bench.useOverTime();
        return bench.seen();
    }
    std::vector<std::string> behaviour( const std::string &value ) {
        return behaviour( Everything, &value );
    }

    /** Checks that the description as it stands comes to @p outcome; @p value is the argument's. */
    void expectOutcome( const Outcome &outcome, const std::string &value ) {
        const std::string failure = std::string( "Assertion `" ) + outcome.text + "' failed";
        DriverBench bench;
        switch ( outcome.effect ) {
        case Effect::Aborts:
            EXPECT_DEATH( make( bench ), testing::HasSubstr( failure ) );
            return;
        case Effect::AbortsOnUse:
            ASSERT_TRUE( make( bench ) );
            EXPECT_DEATH( bench.use(), testing::HasSubstr( failure ) );
            return;
        case Effect::Throws:
            EXPECT_THAT( [ & ] { make( bench ); }, throwsWith( outcome.text ) );
            return;
        case Effect::ThrowsOnUse:
            ASSERT_TRUE( make( bench ) );
            EXPECT_THAT( [ & ] { bench.use(); }, throwsWith( outcome.text ) );
            return;
        case Effect::MakesNothing:
            EXPECT_FALSE( make( bench ) );
            EXPECT_THAT( bench.seen(), testing::Contains( testing::StartsWith( outcome.text ) ) );
            return;
        case Effect::Traced:
            EXPECT_TRUE( make( bench ) );
            EXPECT_THAT( bench.seen(), testing::Contains( testing::StartsWith( outcome.text ) ) );
            return;
        case Effect::Masked: {
            const int low = std::stoi( value ) & 255;
            behaviour( value ); // what a process makes only once, as the blink timer, is there then
            const auto masked = behaviour( std::to_string( low ) );
            EXPECT_EQ( behaviour( value ), masked );
            EXPECT_NE( behaviour( std::to_string( low ^ 255 ) ), masked ) << "it has no effect";
            return;
        }
        case Effect::Accepted:
            EXPECT_TRUE( make( bench ) );
            EXPECT_STRNE( outcome.text, "" ) << "nothing tells what comes of it";
            return;
        }
    }

  private:
    static testing::Matcher<std::function<void()>> throwsWith( const std::string &text ) {
        return testing::Throws<std::exception>(
            testing::Property( &std::exception::what, testing::StartsWith( text ) ) );
    }

    Args conditionArgs() const {
        const Condition &condition = argument().condition;
        if ( condition.kind == Condition::HasText ) {
            return { { condition.argument, condition.text } };
        }
        if ( condition.kind != Condition::Given ) {
            return {};
        }
        Args args;
        forEachArgument( [ & ]( const Case &other ) {
            if ( other.driver == GetParam().driver && other.service == GetParam().service &&
                 std::string( other.argument->name ) == condition.argument ) {
                args[ nameOf( *other.argument ) ] = goodText( *other.argument );
            }
        } );
        return args;
    }
    void fillService( Args &args, const ServiceRow &service, Fill mode,
                      const std::string &without ) const {
        fill( args, service.args, mode, without );
        fill( args, service.numbered, Everything, without );
        if ( argument().condition.kind == Condition::NotGiven ) {
            args.erase( argument().condition.argument );
            fill( args, service.args, OnlyRequired, without );
        }
    }
    /** The device's own arguments stand in every description of it. */
    Args merged( Args args ) const {
        args.insert( creation_.begin(), creation_.end() );
        return args;
    }

    Args creation_;
    Args serviceArgs_;
};

std::string testName( const testing::TestParamInfo<Case> &info ) {
    return caseName( info.param );
}

TEST_P( DriverArgument, IsTakenAndTold ) {
    std::set<std::string> values = { goodText( argument() ) };
    if ( argument().type == ArgType::Integer ) {
        values.insert( std::to_string( argument().maximum ) );
    }
    for ( const std::string &value : values ) {
        describe( Everything, value );
        DriverBench bench;
        ASSERT_TRUE( make( bench ) ) << value;
        bench.use();
    }
    const std::string text = argument().text;
    EXPECT_FALSE( text.empty() );
    EXPECT_EQ( text.find( '\n' ), std::string::npos );
    EXPECT_FALSE( argument().required && argument().standard ) << "a required one has no default";
}
INSTANTIATE_TEST_SUITE_P( All, DriverArgument,
                          testing::ValuesIn( casesWhere( []( auto & ) { return true; } ) ),
                          testName );

class DriverInteger : public DriverArgument {};

TEST_P( DriverInteger, OutsideItsRange ) {
    const std::string below = std::to_string( int64_t{ argument().minimum } - 1 );
    describe( Everything, below );
    expectOutcome( argument().below, below );
    const std::string above = std::to_string( int64_t{ argument().maximum } + 1 );
    describe( Everything, above );
    expectOutcome( argument().above, above );
}
INSTANTIATE_TEST_SUITE_P( All, DriverInteger,
                          testing::ValuesIn( casesWhere( []( const Argument &argument ) {
                              return argument.type == ArgType::Integer;
                          } ) ),
                          testName );

class DriverRequired : public DriverArgument {};

TEST_P( DriverRequired, IsMissed ) {
    describe( OnlyRequired, nullptr );
    expectOutcome( argument().missing, "" );
}
INSTANTIATE_TEST_SUITE_P( All, DriverRequired,
                          testing::ValuesIn( casesWhere( []( const Argument &argument ) {
                              return argument.required;
                          } ) ),
                          testName );

class DriverChoice : public DriverArgument {};

TEST_P( DriverChoice, OtherTexts ) {
    describe( Everything, unfit );
    expectOutcome( argument().other, unfit );
}
INSTANTIATE_TEST_SUITE_P( All, DriverChoice,
                          testing::ValuesIn( casesWhere( []( const Argument &argument ) {
                              return argument.type == ArgType::OneOf ||
                                     argument.type == ArgType::Template ||
                                     argument.type == ArgType::DeviceLabel;
                          } ) ),
                          testName );

/** Arguments whose default is a text that could as well be given. */
class DriverDefault : public DriverArgument {};

TEST_P( DriverDefault, CountsAsGiven ) {
    const std::string standard = argument().standard;
    const auto absent = behaviour( OnlyRequired, nullptr );
    EXPECT_EQ( behaviour( OnlyRequired, &standard ), absent );
    if ( argument().type == ArgType::Integer ) {
        const std::string least = std::to_string( argument().minimum );
        const std::string other = least != standard ? least : std::to_string( argument().maximum );
        EXPECT_NE( behaviour( OnlyRequired, &other ), absent ) << other << " makes no difference";
    }
}
INSTANTIATE_TEST_SUITE_P( All, DriverDefault,
                          testing::ValuesIn( casesWhere( []( const Argument &argument ) {
                              return argument.standard != nullptr;
                          } ) ),
                          testName );

TEST( DriverTable, HasARowForEveryKeyOfTheRegistryAndNoOther ) {
    std::vector<std::string> keys, rows;
    for ( const auto &[ key, factory ] : Drivers::drivers ) {
        keys.push_back( key );
    }
    for ( const DriverRow &row : driverRows ) {
        rows.push_back( row.name );
        EXPECT_STRNE( row.text, "" ) << row.name;
    }
    EXPECT_THAT( rows, testing::UnorderedElementsAreArray( keys ) );
}

/** Everything in the row is made, all else refused: a driver's name tells what it serves. */
void expectServices( const DriverRow &driver ) {
    Args creation;
    fill( creation, driver.creation, OnlyRequired, "" );
    for ( int number = 0; number <= static_cast<int>( Service::Mux ); ++number ) {
        const auto service = static_cast<Service>( number );
        SCOPED_TRACE( std::string( driver.name ) + " " + serviceNames[ number ] );
        const auto row =
            std::find_if( driver.services.begin(), driver.services.end(),
                          [ & ]( const ServiceRow &each ) { return each.service == service; } );
        DriverBench bench;
        ASSERT_TRUE( bench.create( driver.name, creation ) );
        if ( row != driver.services.end() ) {
            Args args;
            fill( args, row->args, OnlyRequired, "" );
            args.insert( creation.begin(), creation.end() );
            EXPECT_TRUE( bench.add( service, args ) );
        } else if ( service == Service::Gpio && ( driver.traits & NeedsNoHam ) ) {
            // Every hardware device makes lines; one without a Ham aborts when they are used.
        } else {
            const char *type = service == Service::SfpXcvr ? "sfp" : "qsfp";
            EXPECT_THROW( bench.add( service, { { "id", "1" }, { "type", type } } ),
                          Component::NotImplementedException );
        }
    }
}

TEST( DriverTable, DriversServeWhatTheirRowsSayAndNoMore ) {
    for ( const DriverRow &driver : driverRows ) {
        expectServices( driver );
    }
}

} // namespace
