#include <algorithm>
#include <charconv>
#include <optional>

#include <fmt/core.h>
#include <pl/smbus.h>

#include "orvan/commands/Command.h"
#include "orvan/commands/Readings.h"
#include "orvan/text/Status.h"

namespace orvan {

namespace {

using Bytes = std::vector<uint8_t>;

/** What an operation brought. */
struct Answer {
    pl_status status = PL_STATUS_OK;
    std::optional<unsigned> number{}; ///< a byte or a word
    unsigned digits = 2;              ///< of the number in hexadecimal
    std::optional<Bytes> block{};
};

/** What an operation was given. */
struct Request {
    uint8_t command = 0;
    unsigned number = 0;
    Bytes block{};
};

/** What follows an operation's name. */
enum class Operand { None, Byte, Word, Block, Count };

constexpr unsigned longestBlockRead = 255;
constexpr unsigned longestBlockWrite = 32;
constexpr unsigned longestI2cTransfer = 255;

Answer receive( pl_smbus *smbus, const Request & ) {
    unsigned char value = 0;
    const pl_status status = call( smbus->ops, &pl_smbus_ops::receive_byte, smbus, &value );
    return { status, value };
}

Answer send( pl_smbus *smbus, const Request &request ) {
    return { call( smbus->ops, &pl_smbus_ops::send_byte, smbus,
                   static_cast<unsigned char>( request.number ) ) };
}

Answer readByte( pl_smbus *smbus, const Request &request ) {
    unsigned char value = 0;
    const pl_status status =
        call( smbus->ops, &pl_smbus_ops::read_byte, smbus, request.command, &value );
    return { status, value };
}

Answer writeByte( pl_smbus *smbus, const Request &request ) {
    return { call( smbus->ops, &pl_smbus_ops::write_byte, smbus, request.command,
                   static_cast<unsigned char>( request.number ) ) };
}

Answer readWord( pl_smbus *smbus, const Request &request ) {
    unsigned short value = 0;
    const pl_status status =
        call( smbus->ops, &pl_smbus_ops::read_word, smbus, request.command, &value );
    return { status, value, 4 };
}

Answer writeWord( pl_smbus *smbus, const Request &request ) {
    return { call( smbus->ops, &pl_smbus_ops::write_word, smbus, request.command,
                   static_cast<unsigned short>( request.number ) ) };
}

Answer processCall( pl_smbus *smbus, const Request &request ) {
    unsigned short reply = 0;
    const pl_status status = call( smbus->ops, &pl_smbus_ops::process_call, smbus, request.command,
                                   static_cast<unsigned short>( request.number ), &reply );
    return { status, reply, 4 };
}

Answer blockRead( pl_smbus *smbus, const Request &request ) {
    Bytes data( longestBlockRead );
    unsigned int length = 0;
    const pl_status status =
        call( smbus->ops, &pl_smbus_ops::block_read, smbus, request.command, data.data(), &length );
    data.resize( std::min<unsigned>( length, longestBlockRead ) );
    return { status, {}, 0, data };
}

Answer blockWrite( pl_smbus *smbus, const Request &request ) {
    return { call( smbus->ops, &pl_smbus_ops::block_write, smbus, request.command,
                   request.block.data(), static_cast<unsigned>( request.block.size() ) ) };
}

Answer i2cRead( pl_smbus *smbus, const Request &request ) {
    Bytes data( request.number );
    const pl_status status = call( smbus->ops, &pl_smbus_ops::i2c_block_read, smbus,
                                   request.command, data.data(), request.number );
    return { status, {}, 0, data };
}

Answer i2cWrite( pl_smbus *smbus, const Request &request ) {
    return { call( smbus->ops, &pl_smbus_ops::i2c_block_write, smbus, request.command,
                   request.block.data(), static_cast<unsigned>( request.block.size() ) ) };
}

struct Operation {
    const char *name;
    const char *operands; ///< for help
    const char *help;
    bool hasCommand;
    Operand operand;
    unsigned longest; ///< bytes of a block, or the highest count
    bool writes;
    Answer ( *run )( pl_smbus *smbus, const Request &request );
};

// clang-format off
constexpr Operation operations[] = {
    { "receive", "", "Receive a byte without naming a register", false, Operand::None, 0, false, receive },
    { "send", "BYTE", "Send a byte", false, Operand::Byte, 0, true, send },
    { "read-byte", "COMMAND", "Read a byte", true, Operand::None, 0, false, readByte },
    { "write-byte", "COMMAND BYTE", "Write a byte", true, Operand::Byte, 0, true, writeByte },
    { "read-word", "COMMAND", "Read a word; it travels low byte first", true, Operand::None, 0, false, readWord },
    { "write-word", "COMMAND WORD", "Write a word", true, Operand::Word, 0, true, writeWord },
    { "block-read", "COMMAND", "Read a block, as long as the device says", true, Operand::None, 0, false, blockRead },
    { "block-write", "COMMAND BYTE...", "Write a block of 1 to 32 bytes", true, Operand::Block, longestBlockWrite, true, blockWrite },
    { "i2c-read", "COMMAND COUNT", "Read COUNT bytes (decimal, 1 to 255) in a row", true, Operand::Count, longestI2cTransfer, false, i2cRead },
    { "i2c-write", "COMMAND BYTE...", "Write 1 to 255 bytes in a row", true, Operand::Block, longestI2cTransfer, true, i2cWrite },
    { "process-call", "COMMAND WORD", "Write a word and read the word that answers it", true, Operand::Word, 0, true, processCall },
};
// clang-format on

constexpr const char *dumpOperation = "dump";
constexpr unsigned registers = 256;
constexpr unsigned dumpColumns = 16;

unsigned parseHex( std::string_view text, unsigned maximum, const char *what ) {
    std::string_view digits = text;
    if ( digits.starts_with( "0x" ) || digits.starts_with( "0X" ) ) {
        digits.remove_prefix( 2 );
    }
    unsigned number = 0;
    const auto result = std::from_chars( digits.data(), digits.data() + digits.size(), number, 16 );
    if ( digits.empty() || result.ec != std::errc() ||
         result.ptr != digits.data() + digits.size() || number > maximum ) {
        throw BadInput( fmt::format( "\"{}\" is no {}; expected hexadecimal, 0 to {:x}", text, what,
                                     maximum ) );
    }
    return number;
}

std::string hexText( const Bytes &bytes ) {
    std::string text;
    for ( const uint8_t byte : bytes ) {
        text += fmt::format( "{}{:02x}", text.empty() ? "" : " ", byte );
    }
    return text;
}

class Smbus : public Command {
  public:
    CLI::App *define( CLI::App &app ) override {
        CLI::App *command = app.add_subcommand( "smbus", "Raw SMBus access to one device" );
        command->add_option( "name", name_, "A peripheral of kind smbus" )->required();
        command->add_option( "operation", operation_, "What to do, see below" )->required();
        command->add_option( "operands", words_,
                             "What it takes; all numbers but COUNT in hexadecimal" );
        command->add_flag( "--yes", yes_, "Really write: a wrong byte can brick a device" );
        command->add_flag( "--json", json_, "Print JSON" );
        std::string footer = "Operations:\n";
        for ( const Operation &operation : operations ) {
            footer += fmt::format( "  {:<28}{}{}\n",
                                   fmt::format( "{} {}", operation.name, operation.operands ),
                                   operation.help, operation.writes ? " (needs --yes)" : "" );
        }
        footer += fmt::format( "  {:<28}{}", dumpOperation,
                               "Read all 256 registers byte by byte; XX: no answer" );
        command->footer( footer );
        return command;
    }

    ExitCode run( Session &session, const Streams &streams ) override {
        if ( operation_ == dumpOperation ) {
            if ( !words_.empty() ) {
                throw BadInput( "dump takes no operands" );
            }
            return dump( session, endpoint( session ), streams );
        }
        const Operation &operation = findOperation();
        const Request request = parse( operation );
        if ( operation.writes && !yes_ ) {
            throw BadInput(
                fmt::format( "{} writes to the device; say --yes to do it", operation.name ) );
        }
        pl_smbus *smbus = endpoint( session );
        Answer answer;
        session.guarded( [ & ] {
            answer = operation.run( smbus, request );
            return answer.status;
        } );
        print( operation, request, answer, streams );
        return answer.status == PL_STATUS_OK ? ExitCode::Ok : ExitCode::Failed;
    }

  private:
    pl_smbus *endpoint( Session &session ) const {
        const PeripheralDescription *description = session.board().find( name_ );
        if ( description && description->kind != smbusKind.name ) {
            throw BadInput( fmt::format( "{} is a {}; raw access needs a peripheral of kind smbus",
                                         name_, description->kind ) );
        }
        return static_cast<pl_smbus *>( session.use( name_ ).record );
    }

    const Operation &findOperation() const {
        std::string names;
        for ( const Operation &operation : operations ) {
            if ( operation_ == operation.name ) {
                return operation;
            }
            names += std::string( operation.name ) + ", ";
        }
        throw BadInput( fmt::format( "there is no operation \"{}\"; expected one of {}{}",
                                     operation_, names, dumpOperation ) );
    }

    Request parse( const Operation &operation ) const {
        Request request;
        std::span<const std::string> words( words_ );
        const auto next = [ & ]( const char *what, unsigned maximum ) {
            if ( words.empty() ) {
                throw BadInput( fmt::format( "{} takes: {}", operation.name, operation.operands ) );
            }
            const std::string &word = words.front();
            words = words.subspan( 1 );
            return parseHex( word, maximum, what );
        };
        if ( operation.hasCommand ) {
            request.command = static_cast<uint8_t>( next( "command byte", 0xFF ) );
        }
        switch ( operation.operand ) {
        case Operand::None:
            break;
        case Operand::Byte:
            request.number = next( "byte", 0xFF );
            break;
        case Operand::Word:
            request.number = next( "word", 0xFFFF );
            break;
        case Operand::Count:
            request.number = count( words, operation );
            words = words.subspan( 1 );
            break;
        case Operand::Block:
            do {
                request.block.push_back( static_cast<uint8_t>( next( "byte", 0xFF ) ) );
            } while ( !words.empty() );
            if ( request.block.size() > operation.longest ) {
                throw BadInput( fmt::format( "{} takes at most {} bytes, not {}", operation.name,
                                             operation.longest, request.block.size() ) );
            }
            break;
        }
        if ( !words.empty() ) {
            throw BadInput( fmt::format( "{} takes: {}", operation.name,
                                         *operation.operands ? operation.operands : "nothing" ) );
        }
        return request;
    }

    static unsigned count( std::span<const std::string> words, const Operation &operation ) {
        unsigned number = 0;
        if ( !words.empty() ) {
            const std::string &text = words.front();
            const auto result = std::from_chars( text.data(), text.data() + text.size(), number );
            if ( result.ec != std::errc() || result.ptr != text.data() + text.size() ) {
                number = 0;
            }
        }
        if ( number < 1 || number > operation.longest ) {
            throw BadInput( fmt::format( "{} takes: {}; COUNT is decimal, 1 to {}", operation.name,
                                         operation.operands, operation.longest ) );
        }
        return number;
    }

    void print( const Operation &operation, const Request &request, const Answer &answer,
                const Streams &streams ) const {
        const bool ok = answer.status == PL_STATUS_OK;
        if ( json_ ) {
            rapidjson::StringBuffer buffer;
            JsonWriter writer( buffer );
            writer.StartObject();
            writeKey( writer, "name", name_ );
            writeKey( writer, "operation", operation.name );
            if ( operation.hasCommand ) {
                writer.Key( "command" );
                writer.Uint( request.command );
            }
            writeKey( writer, "status", statusName( answer.status ) );
            if ( ok && answer.number ) {
                writer.Key( "value" );
                writer.Uint( *answer.number );
            }
            if ( ok && answer.block ) {
                writer.Key( "bytes" );
                writer.StartArray();
                for ( const uint8_t byte : *answer.block ) {
                    writer.Uint( byte );
                }
                writer.EndArray();
            }
            writer.EndObject();
            streams.out << buffer.GetString() << '\n';
        } else if ( !ok ) {
            streams.error << fmt::format( "{} {}: {}\n", name_, operation.name,
                                          statusName( answer.status ) );
        } else if ( answer.number ) {
            streams.out << fmt::format( "{:0{}x}\n", *answer.number, answer.digits );
        } else if ( answer.block ) {
            streams.out << hexText( *answer.block ) << '\n';
        }
    }

    ExitCode dump( Session &session, pl_smbus *smbus, const Streams &streams ) const {
        std::vector<std::optional<uint8_t>> values( registers );
        for ( unsigned i = 0; i < registers; ++i ) {
            Answer answer;
            session.guarded( [ & ] {
                answer = readByte( smbus, { static_cast<uint8_t>( i ) } );
                return answer.status;
            } );
            if ( answer.status == PL_STATUS_OK ) {
                values[ i ] = static_cast<uint8_t>( *answer.number );
            }
        }
        if ( json_ ) {
            printDumpJson( values, streams.out );
        } else {
            printDump( values, streams.out );
        }
        const bool any = std::any_of( values.begin(), values.end(),
                                      []( const auto &value ) { return value.has_value(); } );
        if ( !any ) {
            streams.error << name_ << ": no register answers\n";
        }
        return any ? ExitCode::Ok : ExitCode::Failed;
    }

    static void printDump( const std::vector<std::optional<uint8_t>> &values, std::ostream &out ) {
        std::string header = "   ";
        for ( unsigned i = 0; i < dumpColumns; ++i ) {
            header += fmt::format( "  {:x}", i );
        }
        out << header << "    0123456789abcdef\n";
        for ( unsigned row = 0; row < registers; row += dumpColumns ) {
            std::string line = fmt::format( "{:02x}:", row );
            std::string characters;
            for ( unsigned i = row; i < row + dumpColumns; ++i ) {
                const std::optional<uint8_t> &value = values[ i ];
                line += value ? fmt::format( " {:02x}", *value ) : " XX";
                const bool printable = value && *value >= 0x20 && *value < 0x7f;
                characters += !value ? 'X' : printable ? static_cast<char>( *value ) : '.';
            }
            out << line << "    " << characters << '\n';
        }
    }

    void printDumpJson( const std::vector<std::optional<uint8_t>> &values,
                        std::ostream &out ) const {
        rapidjson::StringBuffer buffer;
        JsonWriter writer( buffer );
        writer.StartObject();
        writeKey( writer, "name", name_ );
        writeKey( writer, "operation", dumpOperation );
        writer.Key( "bytes" );
        writer.StartArray();
        for ( const std::optional<uint8_t> &value : values ) {
            if ( value ) {
                writer.Uint( *value );
            } else {
                writer.Null();
            }
        }
        writer.EndArray();
        writer.EndObject();
        out << buffer.GetString() << '\n';
    }

    std::string name_;
    std::string operation_;
    std::vector<std::string> words_;
    bool yes_ = false;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> smbusCommand() {
    return std::make_unique<Smbus>();
}

} // namespace orvan
