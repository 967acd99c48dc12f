#pragma once

#include <string>
#include <vector>

#include "smbusd/board/HardwareConfig.h"
#include "smbusd/service/Dispatcher.h"
#include "tests/support/ManualScheduler.h"
#include "tests/support/SmbusClient.h"

namespace test {

/** The bus on which TestBoard::withChips puts its chips. */
inline constexpr Place testBus = { Smbus::SCD, 0x300, 1, 2, 0 };

/** A board without sockets: transactions go straight to its dispatcher, time is the test's. */
class TestBoard {
  public:
    explicit TestBoard( const std::string &text, const std::string &folder = "." ) {
        smbusd::loadHardwareText( text, "hardware.json", folder, hardware,
                                  []( auto, const auto &, auto ) -> std::unique_ptr<smbusd::Bus> {
                                      throw std::runtime_error( "no kernel adapters here" );
                                  } );
        dispatcher.setTrafficListener( [ this ]( const smbusd::TrafficEvent &event ) {
            wire.push_back( event.bus.trace() );
        } );
    }

    /** A configuration of one bus, called "bus", with these chips. */
    static std::string withChips( const std::string &chips, const std::string &more = "" ) {
        return R"({ "buses": [ { "name": "bus", "master": "SCD", "pci": "0x300",
                   "accelerator": 1, "bus": 2, "chips": [ )" +
               chips + " ] } ]" + more + " }";
    }

    std::shared_ptr<smbusd::Transaction> submit( const TransactionBuilder &builder ) {
        auto transaction = std::make_shared<smbusd::Transaction>();
        transaction->request = builder.request();
        transaction->client = 7;
        transaction->done = [ this ]( smbusd::Transaction &done ) {
            finished.push_back( done.id );
        };
        dispatcher.submit( transaction );
        scheduler.runPosted();
        return transaction;
    }

    /** Carries a transaction out that needs no time. */
    Smbus::TransactionResponse run( const TransactionBuilder &builder ) {
        wire.clear();
        const size_t before = finished.size();
        const auto transaction = submit( builder );
        if ( finished.size() != before + 1 ) {
            throw std::runtime_error( "the transaction has not ended" );
        }
        return transaction->response;
    }

    /** The data of a single request that must succeed. */
    std::string data( const TransactionBuilder &builder ) {
        const Smbus::TransactionResponse response = run( builder );
        if ( response.failed() || response.responses_size() != 1 ) {
            throw std::runtime_error( "failed: " + response.reason() );
        }
        return response.responses( 0 ).data();
    }

    smbusd::Chip &chip( const std::string &name ) {
        smbusd::Chip *found = hardware.findChip( name );
        if ( found == nullptr ) {
            throw std::runtime_error( "no chip " + name );
        }
        return *found;
    }
    uint32_t number( const std::string &name, uint32_t reg ) {
        return std::get<uint32_t>( chip( name ).peek( reg ) );
    }
    unsigned inject( smbusd::Fault::Kind kind, const std::string &target, uint32_t times = 0 ) {
        smbusd::Fault fault;
        fault.kind = kind;
        fault.target = target;
        fault.times = times;
        return hardware.faults.inject( fault );
    }
    bool logged( const std::string &text ) const {
        for ( const std::string &line : logLines ) {
            if ( line.find( text ) != std::string::npos ) {
                return true;
            }
        }
        return false;
    }

    std::vector<std::string> logLines;
    smbusd::Log log{
        smbusd::LogLevel::Debug,
        [ this ]( smbusd::LogLevel, const std::string &line ) { logLines.push_back( line ); } };
    ManualScheduler scheduler;
    smbusd::Hardware hardware{ scheduler, log };
    smbusd::Dispatcher dispatcher{ hardware };
    std::vector<std::string> wire;  ///< one entry an operation since the last run()
    std::vector<uint64_t> finished; ///< transactions in the order of their ends
};

} // namespace test
