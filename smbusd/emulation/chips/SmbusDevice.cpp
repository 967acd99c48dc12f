#include "smbusd/emulation/chips/SmbusDevice.h"

#include <fmt/format.h>

namespace smbusd {

void SmbusDevice::reset() {
    inMessage_ = false;
    commandSeen_ = false;
    commandNamed_ = false;
    rejected_ = false;
    received_.clear();
    reply_.clear();
    replied_ = 0;
}

bool SmbusDevice::reject( SmbusMisuse kind, const std::string &why ) {
    rejected_ = true;
    misuse( why );
    refused( kind );
    return false;
}

bool SmbusDevice::start( bool read ) {
    if ( !inMessage_ ) {
        inMessage_ = true;
        pec_.reset();
    }
    pec_.addAddress( address(), read );
    if ( !read ) {
        commandSeen_ = false;
        rejected_ = false;
        pecSeen_ = false;
        received_.clear();
        return true;
    }
    if ( rejected_ ) {
        return false;
    }
    if ( commandSeen_ ) {
        return startReply();
    }
    startReceiveByte();
    return true;
}

bool SmbusDevice::isReadable() const {
    return shape_.readable && shape_.kind != CommandShape::Kind::Send;
}

bool SmbusDevice::startReply() {
    if ( !isReadable() ) {
        return reject( SmbusMisuse::UnknownCommand,
                       fmt::format( "read of the write-only command 0x{:02X}", command_ ) );
    }
    finishWrite(); // of a process call: its data takes effect before the answer is made
    if ( rejected_ ) {
        return false;
    }
    prepareRead();
    return true;
}

void SmbusDevice::startReceiveByte() {
    if ( !commandNamed_ || !isReadable() ) {
        // A device acknowledges its own address whatever comes, so that a scan of the bus finds it.
        misuse( "receive byte, but no command to read was named" );
        reply_.clear();
        replied_ = 1; // not even a packet error code comes
        return;
    }
    prepareRead();
    reply_.resize( 1 ); // the packet error code comes after one byte, however wide the command is
}

bool SmbusDevice::write( uint8_t byte ) {
    if ( rejected_ ) {
        return false;
    }
    return commandSeen_ ? takeData( byte ) : takeCommand( byte );
}

bool SmbusDevice::takeCommand( uint8_t byte ) {
    const std::optional<CommandShape> shape = shapeOf( byte );
    if ( !shape ) {
        return reject( SmbusMisuse::UnknownCommand,
                       fmt::format( "command 0x{:02X} is not known", byte ) );
    }
    command_ = byte;
    shape_ = *shape;
    commandSeen_ = true;
    commandNamed_ = true;
    pec_.add( byte );
    return true;
}

size_t SmbusDevice::expectedData() const {
    switch ( shape_.kind ) {
    case CommandShape::Kind::Send:
        return 0;
    case CommandShape::Kind::Bytes:
        return shape_.width;
    case CommandShape::Kind::Block:
        return received_.empty() ? 1 : 1 + size_t{ received_[ 0 ] };
    }
    return 0;
}

bool SmbusDevice::takeData( uint8_t byte ) {
    if ( received_.size() == expectedData() ) {
        if ( !pecKnown_ || pecSeen_ ) {
            return reject( SmbusMisuse::BadData,
                           fmt::format( "more than {} data byte(s) for command 0x{:02X}",
                                        received_.size(), command_ ) );
        }
        pecSeen_ = true;
        if ( byte != pec_.value() ) {
            return reject( SmbusMisuse::BadPec,
                           fmt::format( "packet error code 0x{:02X} of command 0x{:02X}, where "
                                        "0x{:02X} was expected",
                                        byte, command_, pec_.value() ) );
        }
        return true;
    }
    if ( !shape_.writable ) {
        return reject( SmbusMisuse::BadData,
                       fmt::format( "write to the read-only command 0x{:02X}", command_ ) );
    }
    if ( shape_.kind == CommandShape::Kind::Block && received_.empty() &&
         ( byte == 0 || byte > shape_.width ) ) {
        return reject( SmbusMisuse::BadData,
                       fmt::format( "block of {} bytes for command 0x{:02X}, which takes 1 to {}",
                                    byte, command_, shape_.width ) );
    }
    received_.push_back( byte );
    pec_.add( byte );
    return true;
}

void SmbusDevice::finishWrite() {
    if ( !commandSeen_ || rejected_ ) {
        return;
    }
    const bool named = received_.empty() && shape_.kind != CommandShape::Kind::Send;
    if ( named ) {
        return; // only the command of a read that comes, or comes later
    }
    if ( received_.size() < expectedData() ) {
        reject( SmbusMisuse::BadData,
                fmt::format( "only {} of {} data byte(s) for command 0x{:02X}", received_.size(),
                             expectedData(), command_ ) );
        return;
    }
    std::span<const uint8_t> data = received_;
    if ( shape_.kind == CommandShape::Kind::Block ) {
        data = data.subspan( 1 );
    }
    writeCommand( command_, data );
    received_.clear();
}

void SmbusDevice::prepareRead() {
    replied_ = 0;
    reply_ = readCommand( command_ );
    if ( shape_.kind == CommandShape::Kind::Block ) {
        reply_.insert( reply_.begin(), static_cast<uint8_t>( reply_.size() ) );
    }
}

uint8_t SmbusDevice::read() {
    if ( replied_ < reply_.size() ) {
        const uint8_t byte = reply_[ replied_++ ];
        pec_.add( byte );
        return byte;
    }
    if ( replied_ == reply_.size() && pecKnown_ ) {
        replied_++;
        return pec_.value();
    }
    return 0xFF;
}

void SmbusDevice::stop() {
    finishWrite();
    inMessage_ = false;
    commandSeen_ = false;
    rejected_ = false;
    received_.clear();
}

} // namespace smbusd
