#include <map>
#include <set>
#include <sstream>
#include <string>

#include <gmock/gmock.h>

#include "tests/integration/LoadedLibrary.h"
#include "tests/support/HostRecord.h"
#include "tests/support/Process.h"

namespace {

using testing::ContainsRegex;
using Symbols = std::set<std::string>;

const Symbols functions = {
    "pl_slot_init",        "pl_slot_add",        "pl_led_init",          "pl_led_add",
    "pl_temp_sensor_init", "pl_temp_sensor_add", "pl_fan_init",          "pl_fan_add",
    "pl_xcvr_init",        "pl_xcvr_add",        "pl_psu_init",          "pl_psu_add",
    "pl_gpio_init",        "pl_gpio_add",        "pl_smbus_init",        "pl_smbus_add",
    "pl_system_init",      "pl_system_add",      orvanLibraryInitSymbol, plSockInitSymbol,
    insertDriverArgSymbol, systemPoweroffSymbol, systemPowercycleSymbol, systemReloadCauseSymbol,
};

/** The dynamic symbols that nm lists with @p option, each with nm's letter for its type. */
std::map<std::string, char> dynamicSymbols( const std::string &file, const char *option ) {
    const test::Finished nm = test::runProgram(
        { ORVAN_NM, "-D", option, "--format=posix", "--without-symbol-versions", file } );
    EXPECT_EQ( nm.exitCode, 0 ) << nm.errors;
    std::map<std::string, char> symbols;
    std::istringstream lines( nm.output );
    for ( std::string line; std::getline( lines, line ); ) {
        std::istringstream words( line );
        std::string name;
        char type = 0;
        words >> name >> type;
        symbols[ name ] = type;
    }
    return symbols;
}

TEST( Exports, TheLibraryShowsItsEntryPointsAndNothingElse ) {
    Symbols shown;
    for ( const auto &[ name, type ] : dynamicSymbols( LoadedLibrary::path(), "--defined-only" ) ) {
        shown.insert( name );
        if ( name == "_plSock" ) {
            EXPECT_THAT( std::string( 1, type ), testing::MatchesRegex( "[BD]" ) );
        } else {
            EXPECT_EQ( type, 'T' ) << name;
        }
    }
    Symbols expected = functions;
    expected.insert( "_plSock" );
    EXPECT_EQ( shown, expected );
}

/** Expects every one of the host's services that @p file refers to to be weak. */
void expectWeakHostServices( const std::string &file, const Symbols &atLeast ) {
    Symbols services;
    for ( const auto &[ name, type ] : dynamicSymbols( file, "--undefined-only" ) ) {
        if ( name.rfind( "pl_", 0 ) != 0 ) {
            continue;
        }
        services.insert( name );
        EXPECT_EQ( type, 'w' ) << name << " in " << file;
    }
    EXPECT_THAT( services, testing::IsSupersetOf( atLeast ) );
}

TEST( Exports, TheHostsServicesAreWeakReferences ) {
    expectWeakHostServices( LoadedLibrary::path(),
                            { "pl_trace", "pl_timer_add", "pl_timer_set", "pl_timer_delete" } );
}

TEST( Exports, TheSocketClientsHostServiceIsAWeakReference ) {
    expectWeakHostServices( ORVAN_LIB_DIR "/libSmbusProto.so", { "pl_fd_watcher_delete" } );
}

TEST( Exports, TheLibraryIsA32BitSharedObject ) {
    ORVAN_FOR_32_BITS();
    const test::Finished readelf =
        test::runProgram( { ORVAN_READELF, "-h", LoadedLibrary::path() } );
    EXPECT_EQ( readelf.exitCode, 0 ) << readelf.errors;
    EXPECT_THAT( readelf.output, ContainsRegex( "Class: +ELF32\n" ) );
    EXPECT_THAT( readelf.output, ContainsRegex( "Type: +DYN \\(Shared object file\\)\n" ) );
    EXPECT_THAT( readelf.output, ContainsRegex( "Machine: +Intel 80386\n" ) );
}

TEST( Exports, TheLibraryGoesByItsFileName ) {
    const test::Finished readelf =
        test::runProgram( { ORVAN_READELF, "-d", LoadedLibrary::path() } );
    EXPECT_THAT( readelf.output, ContainsRegex( "soname: \\[libOrvanDriversMirelund\\.so\\]" ) );
    EXPECT_THAT( readelf.output,
                 ContainsRegex( "NEEDED.*Shared library: \\[libSmbusProto\\.so\\]" ) );
}

} // namespace
