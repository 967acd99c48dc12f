#include "OrvanGeneric/Ham/SimHam.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "OrvanGeneric/HostServices.h"

namespace Ham {

namespace {

constexpr int noExpectedValue = 4;
constexpr mode_t directoryMode = 0755;

const std::string &simulationDirectory() {
    static const std::string directory = [] {
        const char *configured = std::getenv( "ORVANLIB_SIMDIR" );
        return std::string( configured && *configured ? configured
                                                      : "/tmp/OrvanSimulationDevices" );
    }();
    return directory;
}

/** The value of @p val's register as the file holds it. */
std::string fileText( const Utils::ExpectedVal &val ) {
    const size_t size = val.size();
    if ( !val.isNumeric() ) {
        assert( size == val.valStr().length() );
        return val.valStr();
    }
    char digits[ 2 * sizeof( unsigned ) + 1 ];
    std::snprintf( digits, sizeof( digits ), "%08x", val.val() );
    std::string text( digits );
    const size_t wanted = 2 * size;
    return wanted <= text.size() ? text.substr( text.size() - wanted )
                                 : std::string( wanted - text.size(), '0' ) + text;
}

bool writeAll( int fd, const std::string &text ) {
    size_t done = 0;
    while ( done < text.size() ) {
        const ssize_t n = write( fd, text.data() + done, text.size() - done );
        if ( n < 0 && errno == EINTR ) {
            continue;
        }
        if ( n <= 0 ) {
            return false;
        }
        done += static_cast<size_t>( n );
    }
    return true;
}

/** mkdir -p, each folder with the simulation's mode. */
void makeDirectory( const std::string &path ) {
    std::string folder;
    for ( const auto &part : std::filesystem::path( path ) ) {
        folder = ( std::filesystem::path( folder ) / part ).string();
        mkdir( folder.c_str(), directoryMode );
    }
}

} // namespace

Ham *SimHam::create( const Topology::Topology &, const Drivers::DriverArgs & ) {
    return new SimHam();
}

void SimHam::setDriverName( const std::string &driver, const std::string &label ) {
    driverName_ = driver;
    label_ = label;
    simFileName_ = simulationDirectory() + "/" + driver;
    if ( !label.empty() ) {
        simFileName_ += "-" + label;
    }
}

void SimHam::setExpected( const Utils::ExpectedValues *expected ) {
    expected_ = expected;
    simFileExists_ = false;
    if ( expected_ && !expected_->empty() ) {
        createSimFile();
    }
}

void SimHam::createSimFile() {
    assert( !simFileName_.empty() );
    offsets_.clear();
    std::string text;
    for ( const auto &[ reg, val ] : *expected_ ) {
        offsets_[ reg ] = text.size();
        text += fileText( val );
    }
    text += '\n';
    fileSize_ = text.size();
    simFileExists_ = false;

    if ( label_.find( '/' ) != std::string::npos ) {
        TRACE( 0, "no simulation file for %s: its name '%s' holds a '/'", driverName_.c_str(),
               label_.c_str() );
        return;
    }
    makeDirectory( simulationDirectory() );
    const SimFile file( simFileName_, SimFile::Access::Create );
    if ( !file.usable() ) {
        TRACE( 0, "cannot create simulation file %s: %s", simFileName_.c_str(),
               file.problem().c_str() );
        return;
    }
    if ( ftruncate( file.fd(), 0 ) < 0 || !writeAll( file.fd(), text ) ) {
        TRACE( 0, "cannot write simulation file %s: %s", simFileName_.c_str(), strerror( errno ) );
        return;
    }
    simFileExists_ = true;
    TRACE( 5, "Created %s", simFileName_.c_str() );
}

bool SimHam::isAddrSimulated() const {
    return expected_ && expected_->find( savedReg_ ) != expected_->end();
}

bool SimHam::canAccess() {
    if ( simFileExists_ && isAddrSimulated() ) {
        return true;
    }
    TRACE( 0,
           "WARNING: Simulated Driver %s doesn't yet have expectedVal set for register 0x%x using "
           "SIMULATION_HAM()\n",
           driverName_.c_str(), savedReg_ );
    return false;
}

ResponseId SimHam::add( unsigned reg ) {
    if ( executed_ ) {
        batch_.clear();
        executed_ = false;
    }
    saveReg( reg );
    batch_.push_back( reg );
    return static_cast<ResponseId>( batch_.size() - 1 );
}

int SimHam::execute() {
    executed_ = true;
    // Get operations move the saved register; the batch is judged by what was added last.
    if ( !batch_.empty() ) {
        saveReg( batch_.back() );
    }
    if ( !simFileExists_ || isAddrSimulated() ) {
        return 0;
    }
    return noExpectedValue;
}

ResponseId SimHam::addRead8( unsigned reg ) {
    return add( reg );
}
ResponseId SimHam::addRead16( unsigned reg ) {
    return add( reg );
}
ResponseId SimHam::addRead( unsigned reg, unsigned, bool ) {
    return add( reg );
}
ResponseId SimHam::addReadBlock( unsigned reg ) {
    return add( reg );
}

void SimHam::writeNumber( unsigned reg, unsigned value, unsigned size ) {
    add( reg );
    if ( !canAccess() || expected_->at( reg ).size() != size ) {
        return;
    }
    char digits[ 2 * sizeof( unsigned ) + 1 ];
    std::snprintf( digits, sizeof( digits ), "%0*x", static_cast<int>( 2 * size ), value );
    writeToFile( digits );
}

void SimHam::addWrite8( unsigned reg, uint8_t value, bool ) {
    writeNumber( reg, value, 1 );
}
void SimHam::addWrite16( unsigned reg, uint16_t value, bool ) {
    writeNumber( reg, value, 2 );
}

void SimHam::addWriteBlock( unsigned reg, const void *data, unsigned len, bool ) {
    add( reg );
    if ( !canAccess() ) {
        return;
    }
    const Utils::ExpectedVal &val = expected_->at( reg );
    if ( !val.isNumeric() && val.size() == len ) {
        writeToFile( std::string( static_cast<const char *>( data ), len ) );
    }
}

void SimHam::addWrite( unsigned reg, const void *data, unsigned len, bool pec ) {
    addWriteBlock( reg, data, len, pec );
}

bool SimHam::select( ResponseId id ) {
    if ( id < batch_.size() ) {
        saveReg( batch_[ id ] );
    }
    return canAccess();
}

unsigned SimHam::readHex( ResponseId id, size_t digits ) {
    if ( !select( id ) ) {
        return 0;
    }
    const std::string text = readFromFile( digits );
    unsigned value = 0;
    std::from_chars( text.data(), text.data() + text.size(), value, 16 );
    return value;
}

uint8_t SimHam::get8( ResponseId id ) {
    return static_cast<uint8_t>( readHex( id, 2 ) );
}
uint16_t SimHam::get16( ResponseId id ) {
    return static_cast<uint16_t>( readHex( id, 4 ) );
}

std::string SimHam::getBlock( ResponseId id, unsigned len ) {
    if ( !select( id ) ) {
        return std::string();
    }
    return readFromFile( len ? len : expected_->at( savedReg_ ).size() );
}

std::unique_ptr<SimFile> SimHam::openFile( SimFile::Access access ) {
    auto file = std::make_unique<SimFile>( simFileName_, access );
    if ( file->missing() ) {
        createSimFile();
        if ( !simFileExists_ ) {
            return nullptr;
        }
        file = std::make_unique<SimFile>( simFileName_, access );
    }
    if ( !file->usable() ) {
        TRACE( 0, "cannot use simulation file %s: %s", simFileName_.c_str(),
               file->problem().c_str() );
        return nullptr;
    }
    return file;
}

void SimHam::writeToFile( const std::string &value ) {
    assert( simFileExists_ );
    assert( isAddrSimulated() );
    // A single descriptor for everything: closing a second one of the file would drop the lock.
    const std::unique_ptr<SimFile> file = openFile( SimFile::Access::Write );
    if ( !file ) {
        return;
    }
    struct stat status = {};
    // A harness may have cut the file; touching a page after its end would kill the process.
    if ( fstat( file->fd(), &status ) == 0 && status.st_size < static_cast<off_t>( fileSize_ ) &&
         ftruncate( file->fd(), static_cast<off_t>( fileSize_ ) ) < 0 ) {
        TRACE( 0, "cannot extend simulation file %s: %s", simFileName_.c_str(), strerror( errno ) );
        return;
    }
    void *mm = mmap( nullptr, fileSize_, PROT_READ | PROT_WRITE, MAP_SHARED, file->fd(), 0 );
    // clang-format off
    assert( mm != ((void *) -1) );
    // clang-format on
    const size_t offset = offsets_.at( savedReg_ );
    // A number has two digits for each byte, a text register one character: what does not fit is cut.
    std::memcpy( static_cast<char *>( mm ) + offset, value.data(),
                 std::min( value.size(), fileSize_ - offset ) );
    munmap( mm, fileSize_ );
    TRACE( 5, "%s - Wrote %s to register 0x%x", simFileName_.c_str(), value.c_str(), savedReg_ );
}

std::string SimHam::readFromFile( size_t size ) {
    assert( simFileExists_ );
    assert( isAddrSimulated() );
    const std::unique_ptr<SimFile> file = openFile( SimFile::Access::Read );
    if ( !file ) {
        return std::string();
    }
    std::string text( size, '\0' );
    const ssize_t n =
        pread( file->fd(), text.data(), size, static_cast<off_t>( offsets_.at( savedReg_ ) ) );
    text.resize( n < 0 ? 0 : static_cast<size_t>( n ) );
    TRACE( 5, "%s - Read %s from register 0x%x", simFileName_.c_str(), text.c_str(), savedReg_ );
    return text;
}

} // namespace Ham
