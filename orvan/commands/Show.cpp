#include <algorithm>

#include "orvan/commands/Command.h"
#include "orvan/commands/Readings.h"
#include "orvan/text/TextTable.h"

namespace orvan {

namespace {

class Show : public Command {
  public:
    CLI::App *define( CLI::App &app ) override {
        CLI::App *command =
            app.add_subcommand( "show", "Show every peripheral with its readings, or those named" );
        command->add_option( "name", names_, "Peripherals of the board; none: all" );
        command->add_flag( "--json", json_, "Print one JSON array instead of tables" );
        return command;
    }

    ExitCode run( Session &session, const Streams &streams ) override {
        std::vector<Peripheral *> peripherals = session.tryUseAll( names_ );
        session.settle();
        if ( json_ ) {
            printJson( session, peripherals, streams.out );
        } else {
            printTables( session, peripherals, streams.out );
        }
        const bool allAdded =
            std::all_of( peripherals.begin(), peripherals.end(),
                         []( const Peripheral *peripheral ) { return peripheral->record; } );
        return allAdded ? ExitCode::Ok : ExitCode::Failed;
    }

  private:
    static void printTables( Session &session, const std::vector<Peripheral *> &peripherals,
                             std::ostream &out ) {
        bool first = true;
        for ( const Kind *kind : kinds() ) {
            std::vector<Peripheral *> ofKind;
            std::copy_if( peripherals.begin(), peripherals.end(), std::back_inserter( ofKind ),
                          [ kind ]( const Peripheral *p ) { return p->kind == kind; } );
            if ( !ofKind.empty() ) {
                out << ( first ? "" : "\n" );
                printTable( session, *kind, ofKind, out );
                first = false;
            }
        }
    }

    /**
     * Peripherals of one kind can have different readings: SFP and QSFP cages do. A column that is new
     * stands before the next one of these readings that is there already.
     */
    static void addColumns( std::span<const Reading> readings, std::vector<std::string> &columns ) {
        auto next = columns.end();
        for ( auto reading = readings.rbegin(); reading != readings.rend(); ++reading ) {
            if ( !reading->inTables ) {
                continue;
            }
            const auto column = std::find( columns.begin(), columns.end(), reading->name );
            next = column != columns.end() ? column : columns.insert( next, reading->name );
        }
    }

    static void printTable( Session &session, const Kind &kind,
                            const std::vector<Peripheral *> &peripherals, std::ostream &out ) {
        std::vector<std::string> columns;
        for ( const Peripheral *peripheral : peripherals ) {
            addColumns( kind.readings( *peripheral ), columns );
        }
        std::vector<std::string> header{ kind.name };
        header.insert( header.end(), columns.begin(), columns.end() );
        header.insert( header.end(), { "driver", "where" } );
        TextTable table( header );
        for ( const Peripheral *peripheral : peripherals ) {
            std::vector<std::string> row( 1 + columns.size(), "-" );
            row[ 0 ] = peripheral->description->name;
            if ( peripheral->record ) {
                Readout readout( *peripheral );
                for ( const Reading &reading : kind.readings( *peripheral ) ) {
                    const auto column = std::find( columns.begin(), columns.end(), reading.name );
                    if ( column == columns.end() ) {
                        continue;
                    }
                    row[ static_cast<std::size_t>( 1 + ( column - columns.begin() ) ) ] =
                        oneLine( valueText( reading, session.read( reading, readout ) ) );
                }
            }
            row.push_back( peripheral->description->driver );
            row.push_back( peripheral->record ? peripheral->description->place
                                              : "not added: " + oneLine( peripheral->failure ) );
            table.add( row );
        }
        table.print( out );
    }

    static void printJson( Session &session, const std::vector<Peripheral *> &peripherals,
                           std::ostream &out ) {
        rapidjson::StringBuffer buffer;
        JsonWriter writer( buffer );
        writer.StartArray();
        for ( const Peripheral *peripheral : peripherals ) {
            writer.StartObject();
            writeKey( writer, "name", peripheral->description->name );
            writeKey( writer, "kind", peripheral->kind->name );
            writeKey( writer, "driver", peripheral->description->driver );
            writeKey( writer, "where", peripheral->description->place );
            if ( !peripheral->record ) {
                writeKey( writer, "failure", peripheral->failure );
            } else {
                writer.Key( "readings" );
                writer.StartObject();
                Readout readout( *peripheral );
                for ( const Reading &reading : peripheral->kind->readings( *peripheral ) ) {
                    writer.Key( reading.name );
                    writeJson( writer, reading, session.read( reading, readout ) );
                }
                writer.EndObject();
            }
            writer.EndObject();
        }
        writer.EndArray();
        out << buffer.GetString() << '\n';
    }

    std::vector<std::string> names_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> showCommand() {
    return std::make_unique<Show>();
}

} // namespace orvan
