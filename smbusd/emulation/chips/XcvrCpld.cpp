#include "smbusd/emulation/chips/XcvrCpld.h"

#include <charconv>

#include <fmt/format.h>

namespace smbusd {

namespace {

constexpr uint32_t firstRegister = 1;
constexpr uint32_t lastRegister = 4;
constexpr unsigned portsPerRegister = 4;
constexpr unsigned portCount = 16;
constexpr unsigned nibbleBits = 4;

constexpr XcvrCpld::Line sfpLines[] = {
    { "present", 1, false, false },
    { "los", 0, false, true },
    { "txfault", 3, false, false },
};
constexpr XcvrCpld::Line qsfpLines[] = {
    { "present", 1, false, false },
    { "interrupt", 2, true, false },
};
constexpr XcvrCpld::Layout sfpCages = { sfpLines, 1u << 2, 0 };
constexpr XcvrCpld::Layout qsfpCages = { qsfpLines, 1u << 0 | 1u << 3, 1u << 3 };

/** A nibble four times. */
constexpr uint32_t fourTimes( unsigned nibble ) {
    return nibble * 0x1111;
}

/** @param port  0 to 15 */
constexpr uint32_t registerOf( unsigned port ) {
    return firstRegister + port / portsPerRegister;
}
constexpr uint32_t maskOf( unsigned port, const XcvrCpld::Line &line ) {
    return 1u << ( ( portsPerRegister - 1 - port % portsPerRegister ) * nibbleBits + line.bit );
}

/** The port, from 0, that a name such as "los16" ends with. */
std::optional<unsigned> portIn( std::string_view input, std::string_view lineName ) {
    if ( !input.starts_with( lineName ) || input.substr( lineName.size() ).starts_with( '0' ) ) {
        return std::nullopt;
    }
    unsigned port = 0;
    const char *const end = input.data() + input.size();
    const auto result = std::from_chars( input.data() + lineName.size(), end, port );
    if ( result.ec != std::errc() || result.ptr != end || port < 1 || port > portCount ) {
        return std::nullopt;
    }
    return port - 1;
}

} // namespace

std::unique_ptr<Chip> XcvrCpld::create( ChipContext context, const ChipOptions &options ) {
    const JsonView cages = options.json.at( "cages" );
    const std::string kind = cages.text();
    if ( kind != "sfp" && kind != "qsfp" ) {
        cages.fail( "\"sfp\" or \"qsfp\"" );
    }
    return std::make_unique<XcvrCpld>( std::move( context ), kind == "sfp" ? sfpCages : qsfpCages );
}

XcvrCpld::XcvrCpld( ChipContext context, const Layout &cages )
    : RegisterFile( std::move( context ), { 2, true, lastRegister + 1, 0 } ), cages_( cages ) {
    unsigned empty = 0;
    for ( const Line &line : cages.lines ) {
        empty |= line.assertedWhenEmpty != line.activeLow ? 1u << line.bit : 0;
    }
    for ( uint32_t reg = firstRegister; reg <= lastRegister; reg++ ) {
        fromModules_.at( reg ) = fourTimes( empty );
        setResetValue( reg, fourTimes( cages.reset ) );
    }
    reset();
}

bool XcvrCpld::start( bool read ) {
    awaitsCommand_ = !read;
    return RegisterFile::start( read );
}

bool XcvrCpld::write( uint8_t byte ) {
    if ( awaitsCommand_ && byte < firstRegister ) {
        misuse( fmt::format( "register 0x{:02X} does not exist", byte ) );
        return false;
    }
    awaitsCommand_ = false;
    return RegisterFile::write( byte );
}

uint32_t XcvrCpld::valueOf( uint32_t reg ) const {
    return ( stored( reg ) & fourTimes( cages_.outputs ) ) | fromModules_.at( reg );
}

std::vector<RegisterInfo> XcvrCpld::registers() const {
    std::vector<RegisterInfo> list;
    for ( uint32_t reg = firstRegister; reg <= lastRegister; reg++ ) {
        const uint32_t firstPort = ( reg - firstRegister ) * portsPerRegister + 1;
        list.push_back(
            { reg, layout().width, false,
              fmt::format( "ports{}to{}", firstPort, firstPort + portsPerRegister - 1 ) } );
    }
    return list;
}

RegisterContent XcvrCpld::peek( uint32_t reg ) const {
    if ( reg < firstRegister ) {
        noSuchRegister( reg );
    }
    return RegisterFile::peek( reg );
}

void XcvrCpld::poke( uint32_t reg, const RegisterContent &content ) {
    if ( reg < firstRegister ) {
        noSuchRegister( reg );
    }
    RegisterFile::poke( reg, content );
    fromModules_.at( reg ) = stored( reg ) & ~fourTimes( cages_.outputs );
}

std::vector<InputInfo> XcvrCpld::inputs() const {
    std::vector<InputInfo> list;
    for ( const Line &line : cages_.lines ) {
        for ( unsigned port = 0; port < portCount; port++ ) {
            const bool high = fromModules_.at( registerOf( port ) ) & maskOf( port, line );
            list.push_back( { fmt::format( "{}{}", line.name, port + 1 ),
                              high != line.activeLow ? 1.0 : 0.0 } );
        }
    }
    return list;
}

void XcvrCpld::setInput( std::string_view input, double value ) {
    for ( const Line &line : cages_.lines ) {
        const auto port = portIn( input, line.name );
        if ( !port ) {
            continue;
        }
        if ( value != 0 && value != 1 ) {
            throw ChipError( fmt::format( "input \"{}\" of {} \"{}\" is a line: 0 or 1, not {}",
                                          input, type(), name(), value ) );
        }
        uint32_t &lines = fromModules_.at( registerOf( *port ) );
        const bool high = ( value != 0 ) != line.activeLow;
        lines = high ? lines | maskOf( *port, line ) : lines & ~maskOf( *port, line );
        return;
    }
    Chip::setInput( input, value );
}

} // namespace smbusd
