#include "smbusd/emulation/chips/CommandDevice.h"

#include <fmt/format.h>

#include "smbusd/bus/Operation.h"

namespace smbusd {

namespace {

std::vector<uint8_t> lowByteFirst( uint32_t number, unsigned width ) {
    std::vector<uint8_t> bytes;
    for ( unsigned i = 0; i < width; i++ ) {
        bytes.push_back( static_cast<uint8_t>( number >> ( 8 * i ) ) );
    }
    return bytes;
}

std::vector<uint8_t> readBlock( const JsonView &json ) {
    std::vector<uint8_t> bytes;
    if ( json.isText() ) {
        const std::string text = json.text();
        bytes.assign( text.begin(), text.end() );
    } else {
        json.forEachElement( [ & ]( const JsonView &byte ) {
            bytes.push_back( static_cast<uint8_t>( byte.number( 0, 0xFF ) ) );
        } );
    }
    if ( bytes.empty() || bytes.size() > maxSmbusBlock ) {
        json.fail( fmt::format( "a block of 1 to {} bytes", maxSmbusBlock ) );
    }
    return bytes;
}

void readCommandOptions( CommandDevice &device, uint8_t code, const JsonView &json ) {
    json.expectObject( { "byte", "word", "block", "send", "readOnly" } );
    CommandShape shape;
    std::vector<uint8_t> value;
    unsigned kinds = 0;
    if ( const auto byte = json.find( "byte" ) ) {
        kinds++;
        value = lowByteFirst( byte->number( 0, 0xFF ), 1 );
    }
    if ( const auto word = json.find( "word" ) ) {
        kinds++;
        shape.width = 2;
        value = lowByteFirst( word->number( 0, 0xFFFF ), 2 );
    }
    if ( const auto block = json.find( "block" ) ) {
        kinds++;
        shape.kind = CommandShape::Kind::Block;
        shape.width = maxSmbusBlock;
        value = readBlock( *block );
    }
    if ( const auto send = json.find( "send" ) ) {
        kinds++;
        if ( !send->boolean() ) {
            send->fail( "true, or no \"send\"" );
        }
        shape.kind = CommandShape::Kind::Send;
        shape.width = 0;
        shape.readable = false;
    }
    if ( kinds != 1 ) {
        json.fail( "exactly one of \"byte\", \"word\", \"block\" and \"send\"" );
    }
    if ( const auto readOnly = json.find( "readOnly" ) ) {
        shape.writable = !readOnly->boolean();
    }
    device.addCommand( code, shape, std::move( value ) );
}

} // namespace

std::unique_ptr<Chip> CommandDevice::create( ChipContext context, const ChipOptions &options ) {
    const auto pec = options.json.find( "pec" );
    auto device =
        std::make_unique<CommandDevice>( std::move( context ), pec ? pec->boolean() : true );
    options.json.at( "commands" )
        .forEachMember( [ & ]( std::string_view key, const JsonView &command ) {
            const auto code = static_cast<uint8_t>( command.keyNumber( key, 0, 0xFF ) );
            readCommandOptions( *device, code, command );
        } );
    return device;
}

void CommandDevice::addCommand( uint8_t command, const CommandShape &shape,
                                std::vector<uint8_t> value ) {
    commands_[ command ] = { shape, value, value, 0 };
}

void CommandDevice::reset() {
    SmbusDevice::reset();
    for ( auto &[ code, command ] : commands_ ) {
        command.value = command.resetValue;
        command.sent = 0;
    }
}

std::optional<CommandShape> CommandDevice::shapeOf( uint8_t command ) const {
    const auto found = commands_.find( command );
    return found == commands_.end() ? std::nullopt : std::optional( found->second.shape );
}

std::vector<uint8_t> CommandDevice::readCommand( uint8_t command ) {
    return commands_.at( command ).value;
}

void CommandDevice::writeCommand( uint8_t code, std::span<const uint8_t> data ) {
    Command &command = commands_.at( code );
    if ( command.shape.kind == CommandShape::Kind::Send ) {
        command.sent++;
    } else {
        command.value.assign( data.begin(), data.end() );
    }
}

std::vector<RegisterInfo> CommandDevice::registers() const {
    std::vector<RegisterInfo> list;
    for ( const auto &[ code, command ] : commands_ ) {
        const bool block = command.shape.kind == CommandShape::Kind::Block;
        const bool send = command.shape.kind == CommandShape::Kind::Send;
        list.push_back( { code,
                          send    ? 4
                          : block ? 0
                                  : command.shape.width,
                          !command.shape.writable, send ? "times sent" : "" } );
    }
    return list;
}

const CommandDevice::Command &CommandDevice::commandFor( uint32_t reg ) const {
    const auto found =
        reg <= 0xFF ? commands_.find( static_cast<uint8_t>( reg ) ) : commands_.end();
    if ( found == commands_.end() ) {
        noSuchRegister( reg );
    }
    return found->second;
}

RegisterContent CommandDevice::peek( uint32_t reg ) const {
    const Command &command = commandFor( reg );
    switch ( command.shape.kind ) {
    case CommandShape::Kind::Send:
        return command.sent;
    case CommandShape::Kind::Block:
        return command.value;
    case CommandShape::Kind::Bytes:
        break;
    }
    uint32_t number = 0;
    for ( size_t i = command.value.size(); i > 0; i-- ) {
        number = number << 8 | command.value[ i - 1 ];
    }
    return number;
}

void CommandDevice::poke( uint32_t reg, const RegisterContent &content ) {
    commandFor( reg );
    Command &command = commands_.at( static_cast<uint8_t>( reg ) );
    switch ( command.shape.kind ) {
    case CommandShape::Kind::Send:
        command.sent = numberFor( reg, content, 4 );
        break;
    case CommandShape::Kind::Bytes:
        command.value =
            lowByteFirst( numberFor( reg, content, command.shape.width ), command.shape.width );
        break;
    case CommandShape::Kind::Block: {
        const auto *block = std::get_if<std::vector<uint8_t>>( &content );
        if ( block == nullptr || block->empty() || block->size() > maxSmbusBlock ) {
            throw ChipError( fmt::format( "register 0x{:02X} of {} \"{}\" is a block of 1 to {} "
                                          "bytes",
                                          reg, type(), name(), maxSmbusBlock ) );
        }
        command.value = *block;
        break;
    }
    }
}

} // namespace smbusd
