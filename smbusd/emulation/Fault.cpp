#include "smbusd/emulation/Fault.h"

#include <algorithm>
#include <array>

namespace smbusd {

namespace {

struct Row {
    Fault::Kind kind;
    std::string_view name;
};

constexpr std::array<Row, 10> rows = { {
    { Fault::Kind::Nack, "nack" },
    { Fault::Kind::BadPec, "bad-pec" },
    { Fault::Kind::ShortBlock, "short-block" },
    { Fault::Kind::ClockHold, "clock-hold" },
    { Fault::Kind::StuckBus, "stuck-bus" },
    { Fault::Kind::ArbitrationLost, "arbitration-lost" },
    { Fault::Kind::FlipBit, "flip-bit" },
    { Fault::Kind::Delay, "delay" },
    { Fault::Kind::DropConnection, "drop-connection" },
    { Fault::Kind::StopAnswering, "stop-answering" },
} };

bool isBlockRead( const Operation &operation ) {
    return operation.kind == Operation::Kind::BlockRead ||
           operation.kind == Operation::Kind::I2cBlockRead;
}

/** Whether the operation has a data byte of that index; how long a block is, only its device knows. */
bool hasDataByte( const Operation &operation, uint32_t index ) {
    switch ( operation.kind ) {
    case Operation::Kind::ReceiveByte:
    case Operation::Kind::SendByte:
        return index == 0;
    case Operation::Kind::BlockRead:
        return index < maxSmbusBlock;
    default:
        return index < operation.length;
    }
}

bool canSpoil( const Fault &fault, const Operation &operation ) {
    switch ( fault.kind ) {
    case Fault::Kind::Nack:
        return !fault.atData || operation.kind != Operation::Kind::ReceiveByte;
    case Fault::Kind::BadPec:
        return operation.usesPec();
    case Fault::Kind::ShortBlock:
        return isBlockRead( operation );
    case Fault::Kind::FlipBit:
        return hasDataByte( operation, fault.byte );
    default:
        return true;
    }
}

void addEffect( const Fault &fault, FaultEffects &effects ) {
    switch ( fault.kind ) {
    case Fault::Kind::Nack:
        ( fault.atData ? effects.nackData : effects.nackAddress ) = true;
        break;
    case Fault::Kind::BadPec:
        effects.badPec = true;
        break;
    case Fault::Kind::ShortBlock:
        effects.missing = std::max( effects.missing, fault.missing );
        break;
    case Fault::Kind::ClockHold:
        effects.clockHold = std::chrono::milliseconds( fault.milliseconds );
        break;
    case Fault::Kind::StuckBus:
        effects.stuckBus = true;
        break;
    case Fault::Kind::ArbitrationLost:
        effects.arbitrationLost = true;
        break;
    case Fault::Kind::FlipBit:
        effects.flipByte = fault.byte;
        effects.flipMask = static_cast<uint8_t>( 1u << fault.bit );
        break;
    case Fault::Kind::Delay:
        effects.delay += std::chrono::milliseconds( fault.milliseconds );
        break;
    case Fault::Kind::DropConnection:
        effects.dropConnection = true;
        break;
    case Fault::Kind::StopAnswering:
        effects.stopAnswering = true;
        break;
    }
}

} // namespace

std::string_view faultName( Fault::Kind kind ) {
    for ( const Row &row : rows ) {
        if ( row.kind == kind ) {
            return row.name;
        }
    }
    return "unknown fault";
}

std::optional<Fault::Kind> faultFromName( std::string_view name ) {
    for ( const Row &row : rows ) {
        if ( row.name == name ) {
            return row.kind;
        }
    }
    return std::nullopt;
}

std::vector<std::string_view> faultNames() {
    std::vector<std::string_view> names;
    for ( const Row &row : rows ) {
        names.push_back( row.name );
    }
    return names;
}

unsigned FaultTable::inject( Fault fault ) {
    fault.id = ++lastId_;
    faults_.push_back( std::move( fault ) );
    return lastId_;
}

bool FaultTable::clear( unsigned id ) {
    return std::erase_if( faults_, [ id ]( const Fault &fault ) { return fault.id == id; } ) != 0;
}

unsigned FaultTable::clearTarget( std::string_view target ) {
    return static_cast<unsigned>( std::erase_if( faults_, [ target ]( const Fault &fault ) {
        return target.empty() || fault.target == target;
    } ) );
}

unsigned FaultTable::apply( std::string_view target, const Operation &operation,
                            FaultEffects &effects ) {
    unsigned applied = 0;
    for ( auto fault = faults_.begin(); fault != faults_.end(); ) {
        if ( fault->target != target || !canSpoil( *fault, operation ) ) {
            ++fault;
            continue;
        }
        addEffect( *fault, effects );
        applied++;
        fault->hits++;
        const bool spent = fault->times == 1;
        if ( fault->times > 1 ) {
            fault->times--;
        }
        fault = spent ? faults_.erase( fault ) : fault + 1;
    }
    return applied;
}

} // namespace smbusd
