#include "smbusd/emulation/Transfer.h"

#include <optional>

#include <fmt/format.h>

#include "smbusd/bus/Pec.h"

namespace smbusd {

namespace {

/** One message on its way; every step returns whether to go on. */
class Message {
  public:
    Message( Wire &wire, const Operation &operation, const FaultEffects &effects )
        : wire_( wire ), operation_( operation ), effects_( effects ) {}

    Result run() {
        if ( effects_.stuckBus ) {
            wire_.trace().note( "bus stuck" );
            return { Outcome::BusStuck };
        }
        carryOut();
        if ( result_.outcome != Outcome::ArbitrationLost ) {
            wire_.stop(); // the bus is another master's otherwise
        }
        return std::move( result_ );
    }

  private:
    using Kind = Operation::Kind;

    void carryOut() {
        if ( operation_.kind == Kind::ReceiveByte ) {
            if ( start( true ) ) {
                readPhase( 1 );
            }
            return;
        }
        if ( !start( false ) || !sendRegister() ) {
            return;
        }
        switch ( operation_.kind ) {
        case Kind::BlockWrite:
            if ( !send( static_cast<uint8_t>( operation_.length ) ) ) {
                return;
            }
            [[fallthrough]];
        case Kind::WriteByte:
        case Kind::WriteWord:
        case Kind::I2cBlockWrite:
            if ( !sendData() ) {
                return;
            }
            [[fallthrough]];
        case Kind::SendByte:
            sendPec();
            return;
        case Kind::ProcessCall:
            if ( sendData() && start( true ) ) {
                readPhase( 2 );
            }
            return;
        case Kind::BlockRead:
            if ( start( true ) ) {
                readBlock();
            }
            return;
        default:
            if ( start( true ) ) {
                readPhase( operation_.length );
            }
        }
    }

    bool fail( Outcome outcome, std::string detail = {} ) {
        result_ = { outcome, {}, std::move( detail ) };
        return false;
    }

    bool start( bool read ) {
        const bool first = !started_;
        started_ = true;
        pec_.addAddress( operation_.address, read );
        if ( first && effects_.arbitrationLost ) {
            wire_.trace().note( "arbitration lost" );
            return fail( Outcome::ArbitrationLost );
        }
        const bool heard = effects_.nackAddress ? wire_.startUnheard( operation_.address, read )
                                                : wire_.start( operation_.address, read );
        if ( !heard ) {
            return fail( first ? Outcome::AddressNack : Outcome::ReadAddressNack );
        }
        if ( first && effects_.clockHold ) {
            wire_.trace().note( "clock held" );
            return fail( Outcome::TimedOut );
        }
        return true;
    }

    bool send( uint8_t byte, uint8_t flip = 0 ) {
        pec_.add( byte );
        const bool unheard = effects_.nackData && sent_ == 0;
        sent_++;
        const auto onWire = static_cast<uint8_t>( byte ^ flip );
        if ( !( unheard ? wire_.writeUnheard( onWire ) : wire_.write( onWire ) ) ) {
            return fail( Outcome::DataNack,
                         fmt::format( "byte {} behind the address (0x{:02X}) not acknowledged",
                                      sent_, onWire ) );
        }
        return true;
    }

    bool sendRegister() {
        if ( operation_.kind == Kind::SendByte ) {
            return send( static_cast<uint8_t>( operation_.reg ), effects_.flipOf( 0 ) );
        }
        for ( unsigned left = operation_.registerSize; left > 0; left-- ) {
            if ( !send( static_cast<uint8_t>( operation_.reg >> ( 8 * ( left - 1 ) ) ) ) ) {
                return false;
            }
        }
        return true;
    }

    bool sendData() {
        for ( size_t i = 0; i < operation_.data.size(); i++ ) {
            if ( !send( static_cast<uint8_t>( operation_.data[ i ] ), effects_.flipOf( i ) ) ) {
                return false;
            }
        }
        return true;
    }

    void sendPec() {
        if ( !operation_.usesPec() ) {
            return;
        }
        const auto onWire = static_cast<uint8_t>( effects_.badPec ? ~pec_.value() : pec_.value() );
        if ( !wire_.write( onWire ) ) {
            fail( Outcome::BadPec,
                  fmt::format( "packet error code 0x{:02X} not acknowledged", onWire ) );
        }
    }

    /** Reads that many bytes, and the packet error code after them. */
    void readPhase( uint32_t count ) {
        const bool cut = operation_.kind == Kind::I2cBlockRead && effects_.missing > 0;
        const uint32_t wanted = cut ? count - std::min( count, effects_.missing ) : count;
        const bool withPec = operation_.usesPec();
        result_.data.reserve( wanted );
        for ( uint32_t i = 0; i < wanted; i++ ) {
            const bool last = i + 1 == wanted && !withPec;
            const uint8_t byte = wire_.read( last, effects_.flipOf( i ) );
            pec_.add( byte );
            result_.data.push_back( static_cast<char>( byte ) );
        }
        if ( withPec ) {
            checkPec();
        }
    }

    void readBlock() {
        const uint8_t count = wire_.readCount( effects_.missing );
        pec_.add( count );
        if ( count == 0 || count > maxSmbusBlock ) {
            fail( Outcome::BadBlock, fmt::format( "block count {}, where 1 to {} was expected",
                                                  count, maxSmbusBlock ) );
            return;
        }
        readPhase( count );
    }

    void checkPec() {
        const uint8_t got = wire_.read( true, effects_.badPec ? 0xFF : 0 );
        if ( got != pec_.value() ) {
            fail( Outcome::BadPec, fmt::format( "packet error code 0x{:02X}, where 0x{:02X} was "
                                                "expected",
                                                got, pec_.value() ) );
        }
    }

    Wire &wire_;
    const Operation &operation_;
    const FaultEffects &effects_;
    Pec pec_;
    Result result_;
    unsigned sent_ = 0;
    bool started_ = false;
};

} // namespace

Result transfer( Wire &wire, const Operation &operation, const FaultEffects &effects ) {
    wire.trace().clear();
    return Message( wire, operation, effects ).run();
}

} // namespace smbusd
