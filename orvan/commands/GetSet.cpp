#include <algorithm>

#include <fmt/core.h>

#include "orvan/commands/Command.h"
#include "orvan/commands/Readings.h"
#include "orvan/text/Status.h"
#include "orvan/text/TextTable.h"

namespace orvan {

namespace {

template <typename Entry>
std::string namesOf( std::span<const Entry> entries ) {
    std::string names;
    for ( const Entry &entry : entries ) {
        names += ( names.empty() ? "" : ", " ) + std::string( entry.name );
    }
    return names.empty() ? "none" : names;
}

/** The reading @p name of a peripheral; without a name, its only one. */
const Reading &findReading( const Peripheral &peripheral, const std::string &name ) {
    const std::span<const Reading> readings = peripheral.kind->readings( peripheral );
    if ( name.empty() && readings.size() == 1 ) {
        return readings.front();
    }
    for ( const Reading &reading : readings ) {
        if ( name == reading.name ) {
            return reading;
        }
    }
    throw BadInput( fmt::format( "{} has no reading \"{}\"; a {} has: {}",
                                 peripheral.description->name, name, peripheral.kind->name,
                                 namesOf( readings ) ) );
}

class Get : public Command {
  public:
    CLI::App *define( CLI::App &app ) override {
        CLI::App *command =
            app.add_subcommand( "get", "Read one peripheral, all or one of its readings" );
        command->add_option( "name", name_, "A peripheral of the board" )->required();
        command->add_option( "reading", reading_, "One of its readings; none: all" );
        command->add_flag( "--json", json_, "Print JSON" );
        return command;
    }

    ExitCode run( Session &session, const Streams &streams ) override {
        Peripheral &peripheral = session.use( name_ );
        session.settle();
        std::vector<const Reading *> readings;
        if ( reading_.empty() ) {
            for ( const Reading &reading : peripheral.kind->readings( peripheral ) ) {
                readings.push_back( &reading );
            }
        } else {
            readings.push_back( &findReading( peripheral, reading_ ) );
        }
        bool good = true;
        Readout readout( peripheral );
        rapidjson::StringBuffer buffer;
        JsonWriter writer( buffer );
        writer.StartObject();
        for ( const Reading *reading : readings ) {
            const Value value = session.read( *reading, readout );
            good = good && value.status == PL_STATUS_OK;
            if ( json_ ) {
                writer.Key( reading->name );
                writeJson( writer, *reading, value );
                continue;
            }
            if ( readings.size() > 1 ) {
                streams.out << reading->name << ' ';
            }
            const bool hasUnit = *reading->unit && value.status == PL_STATUS_OK &&
                                 !std::holds_alternative<std::monostate>( value.data );
            streams.out << oneLine( valueText( *reading, value ) ) << ( hasUnit ? " " : "" )
                        << ( hasUnit ? reading->unit : "" ) << '\n';
        }
        writer.EndObject();
        if ( json_ ) {
            streams.out << buffer.GetString() << '\n';
        }
        return good ? ExitCode::Ok : ExitCode::Failed;
    }

  private:
    std::string name_;
    std::string reading_;
    bool json_ = false;
};

class Set : public Command {
  public:
    CLI::App *define( CLI::App &app ) override {
        CLI::App *command = app.add_subcommand( "set", "Set something of one peripheral" );
        command->add_option( "name", name_, "A peripheral of the board" )->required();
        command
            ->add_option( "value", words_,
                          "gpio: on, off, 1 or 0\n"
                          "led: off, good, warning, bad, inactive, unknown or beacon\n"
                          "fan: rpm N (revolutions per minute) or rpm N% (of its maximum)\n"
                          "xcvr: txdisable (SFP), reset, lpmode or modsel (QSFP), then on or off" )
            ->required();
        return command;
    }

    ExitCode run( Session &session, const Streams &streams ) override {
        Peripheral &peripheral = session.use( name_ );
        const auto [ setting, text ] = find( peripheral );
        const pl_status status =
            session.guarded( [ & ] { return setting->apply( peripheral, text ); } );
        if ( status != PL_STATUS_OK ) {
            peripheral.lastSetting.clear();
            streams.error << fmt::format( "{}: {}\n", name_, statusName( status ) );
            return ExitCode::Failed;
        }
        peripheral.lastSetting = text;
        return ExitCode::Ok;
    }

  private:
    std::pair<const Setting *, std::string> find( const Peripheral &peripheral ) const {
        const std::span<const Setting> settings = peripheral.kind->settings( peripheral );
        for ( const Setting &setting : settings ) {
            if ( !*setting.name && words_.size() == 1 ) {
                return { &setting, words_[ 0 ] };
            }
            if ( words_.size() == 2 && words_[ 0 ] == setting.name ) {
                return { &setting, words_[ 1 ] };
            }
        }
        std::string usage;
        for ( const Setting &setting : settings ) {
            usage += fmt::format( "{}set {} {}{}({})", usage.empty() ? "" : "; ", name_,
                                  setting.name, *setting.name ? " " : "", setting.values );
        }
        throw BadInput(
            settings.empty()
                ? fmt::format( "nothing can be set on {}, a {}", name_, peripheral.kind->name )
                : fmt::format( "{}, a {}, is set with: {}", name_, peripheral.kind->name, usage ) );
    }

    std::string name_;
    std::vector<std::string> words_;
};

class Expect : public Command {
  public:
    CLI::App *define( CLI::App &app ) override {
        CLI::App *command = app.add_subcommand(
            "expect", "Read one peripheral and fail unless it reads as said; for scripts" );
        command->add_option( "name", name_, "A peripheral of the board" )->required();
        command
            ->add_option( "value", words_,
                          "The value, or the name of a failure such as \"fault\"; before it the "
                          "reading's name when the peripheral has several" )
            ->required()
            ->expected( 1, 2 );
        return command;
    }

    ExitCode run( Session &session, const Streams &streams ) override {
        Peripheral &peripheral = session.use( name_ );
        session.settle();
        const Reading &reading =
            findReading( peripheral, words_.size() == 2 ? words_.front() : std::string() );
        Readout readout( peripheral );
        const std::string found = oneLine( valueText( reading, session.read( reading, readout ) ) );
        if ( found == words_.back() ) {
            return ExitCode::Ok;
        }
        streams.error << fmt::format( "{} {} is {}, expected {}\n", name_, reading.name, found,
                                      words_.back() );
        return ExitCode::Failed;
    }

  private:
    std::string name_;
    std::vector<std::string> words_;
};

} // namespace

std::unique_ptr<Command> getCommand() {
    return std::make_unique<Get>();
}
std::unique_ptr<Command> setCommand() {
    return std::make_unique<Set>();
}
std::unique_ptr<Command> expectCommand() {
    return std::make_unique<Expect>();
}

} // namespace orvan
