#include "tests/model/Place.h"

#include <vector>

#include <pl/types.h>

#include "OrvanGeneric/Drivers/Helpers.h"
#include "OrvanGeneric/Ham/OrvanSmbusHam.h"
#include "OrvanGeneric/Orvan.h"
#include "OrvanGeneric/Topology.h"

namespace model {

namespace {

constexpr uint32_t busShift = 7;
constexpr uint32_t acceleratorShift = 14;

const char *const topology = R"([
  { "type": "SCD", "ham": "OrvanSmbus", "pci": 768, "accelerators": [
    { "id": 0, "busses": [ { "id": 1, "devices": [ { "did": 1 } ] } ] },
    { "id": 2, "busses": [ { "id": 5,
      "devices": [ { "did": 90, "driver": "PCA9548", "address": { "address": 112 } } ],
      "muxes": [ { "did": 90, "busses": [ { "id": 132, "devices": [ { "did": 2 } ] } ] } ] } ] },
    { "id": 130, "busses": [ { "id": 3,
      "devices": [ { "did": 91, "driver": "PCA9548", "address": { "address": 112 } } ],
      "muxes": [ { "did": 91, "busses": [ { "id": 2,
        "devices": [ { "did": 92, "driver": "PCA9548", "address": { "address": 113 } } ],
        "muxes": [ { "did": 92, "busses": [ { "id": 8, "devices": [ { "did": 3 } ] } ] } ] } ]
      } ] } ] } ] },
  { "type": "I2C", "ham": "OrvanSmbus", "id": 9, "devices": [ { "did": 4 },
    { "did": 80, "label": "lines", "driver": "Dummy", "address": { "address": 127 } },
    { "did": 81, "label": "PsuPCA", "driver": "MirePsuPCA9555", "address": { "address": 126 } } ] },
  { "type": "I2C", "ham": "OrvanSmbus", "id": 10, "simulated": true, "devices": [ { "did": 5 } ] },
  { "type": "IOPort", "ham": "OrvanSmbus", "id": 200, "devices": [ { "did": 6 } ] },
  { "type": "Celestica", "ham": "OrvanSmbus", "accelerators": [
    { "id": 1, "busses": [ { "id": 7, "devices": [ { "did": 7 } ] } ] } ] },
  { "type": "PLM", "ham": "OrvanSmbus", "id": 11, "devices": [ { "did": 8 } ] },
  { "type": "SccSpi", "ham": "OrvanSmbus", "id": 12, "devices": [ { "did": 9 } ] }
])";

/** Where a device is: what the topology above says, in the words of a request. */
struct Position {
    uint32_t accelerator;
    uint32_t bus;
    uint32_t pci;
    int master;
    std::vector<Path::Mux> muxes;
};

/** By device identity, from 1. */
const Position positions[] = {
    { 0, 1, 768, 2, {} },
    { 2, 5, 768, 2, { { 112, 132 } } },
    { 130 & 0x7F, 3, 768, 2, { { 112, 2 }, { 113, 8 } } },
    { 0, 9, 0, 1, {} },
    { 0, 10, 0, 0, {} },
    { 0, 200 & 0x7F, 0, 3, {} },
    { 1, 7, 0, 4, {} },
    { 0, 11, 0, 5, {} },
    { 0, 12, 0, 6, {} },
};

uint32_t wordOf( Topology::HamAddress address, const Position &position ) {
    address.addrSize = 1;
    address.bus = 0;
    address.accelerator = 0;
    address.flag = 0;
    return static_cast<uint32_t>( address.packed() >> 32 ) | position.bus << busShift |
           position.accelerator << acceleratorShift;
}

/** A labelled device on I2C bus 9. */
Place placeOnI2c( uint32_t did, uint8_t chip ) {
    Topology::HamAddress address{};
    address.address = chip & 0x7F;
    address.addrSize = 1;
    const Position &position = positions[ 3 ];
    return { { wordOf( address, position ), position.pci, position.master, {} }, did, address };
}

} // namespace

void loadBoard() {
    if ( orvanLibraryInit( "model", topology, 1 ) != PL_STATUS_OK ) {
        throw std::runtime_error( "the models' topology does not load" );
    }
    Drivers::getHardwareDeviceByLabel( linesLabel, "Dummy" );
}

Path linesPath() {
    return placeOnI2c( 80, linesChip ).path;
}

Place psuExpanderPlace() {
    return placeOnI2c( 81, 126 );
}

void traceLinesFound( World &world ) {
    world.trace( 0, "looking for already existing device 80" );
    world.trace( 0, "using previously instanciated HardwareDevice Dummy" );
}

Place randomPlace( Random &random ) {
    const uint32_t index = random.below( std::size( positions ) );
    const Position &position = positions[ index ];
    Topology::HamAddress address{};
    address.address = ( 0x20 + random.below( 0x40 ) ) & 0x7F;
    address.addrSize = random.of( { 1u, 2u } ) & 3;
    address.busTimeout = random.next() & 7;
    address.extraDelay = random.next() & 1;
    address.writeDelay = random.next() & 3;
    address.readDelay = random.next() & 3;
    return { { wordOf( address, position ), position.pci, position.master, position.muxes },
             index + 1,
             address };
}

Ham::Ham *realHam( const Place &place ) {
    static std::vector<Ham::Ham *> all; // nothing deletes a Ham
    Drivers::DriverArgs args;
    args.did = place.did;
    args.address = place.address;
    Ham::Ham *ham = Ham::OrvanSmbusHam::create( *Topology::_topology, args );
    ham->init();
    all.push_back( ham );
    return ham;
}

Drivers::DriverArgs peripheralArgs( const ArgMap &driverArgs ) {
    Drivers::DriverArgs args;
    args.driverArgs = driverArgs;
    return args;
}

Device::Device( const Place &place, const std::string &driver, const ArgMap &driverArgs )
    : place_( place ) {
    args.driver = driver;
    args.did = place.did;
    args.address = place.address;
    args.driverArgs = driverArgs;
}

Device::~Device() {
    if ( device_ ) {
        destroy();
    }
}

std::string Device::make() {
    Ham::Ham *ham = realHam( place_ );
    FakeHost::instance().traces.clear();
    device_ =
        static_cast<Component::HardwareDevice *>( Component::HardwareDevice::create( args, ham ) );
    return device_ ? "made" : "null";
}

std::string Device::destroy() {
    delete device_;
    device_ = nullptr;
    Component::DeviceBase::devices.erase( place_.did );
    return "";
}

void Device::model( World &world, const Place &place, const std::string &driver,
                    const std::function<void()> &factory, const std::function<void()> &init ) {
    world.trace( 0, "looking for already existing device %u", place.did );
    world.trace( 0, "creating HardwareDevice %s", driver.c_str() );
    world.trace( 0, "calling factory function for %s", driver.c_str() );
    factory();
    world.trace( 0, "virtual Ham::setDriverName() invoked!!!" );
    world.trace( 0, "virtual Ham::setExpected() invoked!!!" );
    init();
    world.trace( 0, "%s device created", driver.c_str() );
}

} // namespace model
