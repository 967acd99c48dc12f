#include "smbusd/linux/LinuxBus.h"

#include <future>
#include <thread>

#include <asio/io_context.hpp>
#include <gtest/gtest.h>

#include "smbusd/base/AsioScheduler.h"
#include "tests/support/SmbusClient.h"

namespace {

using smbusd::Operation;
using smbusd::Outcome;
using smbusd::Result;
using test::bytes;
using Kind = smbusd::Operation::Kind;

/** Stands in for the device file. */
class ScriptedAdapter : public smbusd::AdapterAccess {
  public:
    explicit ScriptedAdapter( std::function<Result( const Operation & )> script )
        : script_( std::move( script ) ) {}
    Result perform( const Operation &operation ) override { return script_( operation ); }

  private:
    std::function<Result( const Operation & )> script_;
};

class LinuxBus : public testing::Test {
  protected:
    std::unique_ptr<smbusd::Bus> busOn( std::function<Result( const Operation & )> script ) {
        return smbusd::makeLinuxBus( "real", { Smbus::I2C, 0, 0, 1 }, "/dev/i2c-9",
                                     std::make_unique<ScriptedAdapter>( std::move( script ) ),
                                     scheduler );
    }
    /** The wire notation of an operation with a given result. */
    std::string traceOf( const Operation &operation, const Result &result ) {
        const auto bus = busOn( [ & ]( const Operation & ) { return result; } );
        bool completed = false;
        bus->execute( operation, [ & ]( Result ) { completed = true; } );
        while ( !completed ) {
            loop.run_one();
        }
        return bus->trace();
    }

    asio::io_context loop;
    asio::executor_work_guard<asio::io_context::executor_type> work = asio::make_work_guard( loop );
    smbusd::AsioScheduler scheduler{ loop };
};

Operation operationOf( Kind kind, uint32_t reg, std::string_view data = {} ) {
    Operation operation;
    operation.kind = kind;
    operation.address = 0x58;
    operation.reg = reg;
    operation.data = data;
    operation.length = static_cast<uint32_t>( data.size() );
    return operation;
}

TEST_F( LinuxBus, BlocksItsOwnThreadAndCompletesOnTheServices ) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::thread::id worker;
    const auto bus = busOn( [ & ]( const Operation & ) {
        worker = std::this_thread::get_id();
        released.wait();
        return Result{ Outcome::Done, "x", {} };
    } );
    EXPECT_EQ( bus->backend(), "/dev/i2c-9" );
    const Operation operation = operationOf( Kind::ReadByte, 1 );
    std::optional<Result> result;
    std::thread::id completer;
    bus->execute( operation, [ & ]( Result got ) {
        completer = std::this_thread::get_id();
        result = std::move( got );
    } );
    EXPECT_FALSE( result ); // the service's thread goes on while the adapter is busy
    release.set_value();
    while ( !result ) {
        loop.run_one();
    }
    EXPECT_EQ( result->data, "x" );
    EXPECT_TRUE( completer == std::this_thread::get_id() );
    EXPECT_TRUE( worker != std::this_thread::get_id() );
    EXPECT_EQ( bus->counters.operations, 1u );
    EXPECT_EQ( bus->counters.errors, 0u );
}

TEST_F( LinuxBus, ShowsWhatMustHaveBeenOnTheWire ) {
    EXPECT_EQ( traceOf( operationOf( Kind::ReadWord, 0x8B ), { Outcome::Done, bytes( 1, 2 ), {} } ),
               "S 58 W A 8B A Sr 58 R A 01 A 02 N P" );
    EXPECT_EQ( traceOf( operationOf( Kind::ReceiveByte, 0 ), { Outcome::Done, bytes( 1 ), {} } ),
               "S 58 R A 01 N P" );
    EXPECT_EQ( traceOf( operationOf( Kind::SendByte, 3 ), {} ), "S 58 W A 03 A P" );
    EXPECT_EQ( traceOf( operationOf( Kind::BlockWrite, 0x9A, "HI" ), {} ),
               "S 58 W A 9A A 02 A 48 A 49 A P" );
    EXPECT_EQ( traceOf( operationOf( Kind::BlockRead, 0x9A ), { Outcome::Done, "HI", {} } ),
               "S 58 W A 9A A Sr 58 R A 02 A 48 A 49 N P" );
    EXPECT_EQ( traceOf( operationOf( Kind::ReadByte, 1 ), { Outcome::AddressNack, {}, {} } ),
               "S 58 W (address not acknowledged)" );
}

} // namespace
