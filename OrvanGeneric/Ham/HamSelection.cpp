#include "OrvanGeneric/Ham/HamSelection.h"

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/Ham/IpmitoolHam.h"
#include "OrvanGeneric/Ham/OrvanSmbusHam.h"
#include "OrvanGeneric/Ham/SearchVisitor.h"
#include "OrvanGeneric/Ham/SimHam.h"
#include "OrvanGeneric/HostServices.h"

namespace Ham {

std::map<std::string, HamFactory> hams = {
    { "OrvanSmbus", OrvanSmbusHam::create },
    { "SimHam", SimHam::create },
};

std::map<std::string, IpmiHamFactory> ipmiHams;

Ham *Ham::create( const std::string &name, const Topology::Topology &topology,
                  const Drivers::DriverArgs &args ) {
    TRACE( 3, "looking up for %s in %p with %p", name.c_str(),
           static_cast<const void *>( &topology ), static_cast<const void *>( &args ) );
    const auto it = hams.find( name );
    if ( it == hams.end() ) {
        TRACE( 0, "Couldn't find HAM %s", name.c_str() );
        return nullptr;
    }
    TRACE( 3, "calling %s factory function", name.c_str() );
    Ham *ham = it->second( topology, args );
    if ( !ham ) {
        TRACE( 0, "Factory function returned, couldn't create HAM %s", name.c_str() );
        return nullptr;
    }
    TRACE( 3, "ham initialisation" );
    ham->init();
    return ham;
}

Ham *createHam( const Topology::Topology &topology, const Drivers::DriverArgs &args ) {
    TRACE( 0, "looking for component %u of device %u in topology", args.uid, args.did );
    SearchVisitor search( args.uid, args.did );
    topology.accept( &search );
    if ( !search.found ) {
        TRACE( 0, "could not find component uid %d in topology", static_cast<int>( args.uid ) );
        return nullptr;
    }
    const std::string name = Utils::inSimulation() ? "SimHam" : search.hamName;
    TRACE( 0, "creating %s HAM using topology information", name.c_str() );
    Ham *ham = Ham::create( name, topology, args );
    if ( !ham ) {
        TRACE( 0, "failed to create HAM" );
    }
    return ham;
}

namespace {

/** Adds this library's kinds, once; a kind of that name that is there already stays. */
void addOwnKinds() {
    static const bool added = ipmiHams.emplace( "ipmitool", IpmitoolHam::create ).second;
    static_cast<void>( added );
}

} // namespace

std::shared_ptr<IpmiHam> createIpmiHam( const std::string &name ) {
    addOwnKinds();
    TRACE( 3, "looking for ham %s", name.c_str() );
    const auto it = ipmiHams.find( name );
    if ( it == ipmiHams.end() ) {
        TRACE( 0, "ham not found %s", name.c_str() );
        return nullptr;
    }
    TRACE( 3, "creating  %s factory function", name.c_str() );
    std::shared_ptr<IpmiHam> ham = it->second();
    if ( !ham ) {
        TRACE( 0, "Failed to create ham %s", name.c_str() );
    }
    return ham;
}

} // namespace Ham
