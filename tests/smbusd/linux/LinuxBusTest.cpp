#include "smbusd/linux/LinuxBus.h"

#include <future>
#include <thread>

#include <asio/io_context.hpp>
#include <gtest/gtest.h>

#include "smbusd/base/AsioScheduler.h"
#include "tests/support/FakeKernel.h"
#include "tests/support/OperationOf.h"

namespace {

using smbusd::Operation;
using smbusd::Outcome;
using smbusd::Result;
using test::operationOf;
using test::readOf;
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
    std::unique_ptr<smbusd::Bus>
    busOn( std::function<Result( const Operation & )> script,
           std::chrono::milliseconds patience = std::chrono::hours( 1 ) ) {
        return smbusd::makeLinuxBus( { "real",
                                       { Smbus::I2C, 0, 0, 1 },
                                       "/dev/i2c-9",
                                       std::make_unique<ScriptedAdapter>( std::move( script ) ),
                                       patience },
                                     scheduler, log );
    }
    Result perform( smbusd::Bus &bus, const Operation &operation ) {
        std::optional<Result> result;
        bus.execute( operation, [ & ]( Result got ) { result = std::move( got ); } );
        while ( !result ) {
            loop.run_one();
        }
        return *result;
    }

    asio::io_context loop;
    asio::executor_work_guard<asio::io_context::executor_type> work = asio::make_work_guard( loop );
    smbusd::AsioScheduler scheduler{ loop };
    std::vector<std::string> logged;
    smbusd::Log log{ smbusd::LogLevel::Info, [ this ]( smbusd::LogLevel, const std::string &line ) {
                        logged.push_back( line );
                    } };
};

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

TEST_F( LinuxBus, ShowsWhatWasOnTheWireAndCountsErrors ) {
    const auto bus = busOn( []( const Operation & ) {
        return Result{ Outcome::AddressNack, {}, "no acknowledge" };
    } );
    EXPECT_EQ( perform( *bus, readOf( Kind::ReadByte, 1, 1 ) ).text(), "no acknowledge" );
    EXPECT_EQ( bus->trace(), "S 58 W (no acknowledge)" );
    EXPECT_EQ( bus->counters.errors, 1u );
}

TEST_F( LinuxBus, ItsEndDoesNotWaitForAnAdapterThatHangs ) {
    auto hung = std::make_shared<std::promise<void>>();
    auto begun = std::make_shared<std::promise<void>>();
    auto seen = std::make_shared<std::promise<std::string>>();
    bool completed = false;
    {
        const auto bus = busOn(
            [ hung, begun, seen ]( const Operation &operation ) {
                begun->set_value();
                hung->get_future().wait();
                seen->set_value( std::string( operation.data ) );
                return Result{};
            },
            std::chrono::milliseconds( 0 ) );
        std::string data = "the request's own";
        bus->execute( operationOf( Kind::I2cBlockWrite, 0, data ),
                      [ & ]( Result ) { completed = true; } );
        begun->get_future().wait();
        data.assign( data.size(), '!' ); // the request is gone, its memory somebody else's
    }
    ASSERT_EQ( logged.size(), 1u );
    EXPECT_EQ( logged[ 0 ], "bus \"real\": an operation on /dev/i2c-9 does not end; it is left to "
                            "the kernel" );
    hung->set_value();
    EXPECT_EQ( seen->get_future().get(), "the request's own" );
    EXPECT_FALSE( completed );
}

TEST_F( LinuxBus, TheFactoryMakesBusesOnAdaptersAndTellsWhereTheyWent ) {
    test::FakeKernel kernel;
    kernel.add( 1, "host" );
    const auto factory = smbusd::linuxBusFactory( scheduler, log, kernel.calls() );
    const smbusd::AdapterSpec spec{ smbusd::AdapterSpec::By::Name, 0, "host" };
    const auto bus = factory( "real", { Smbus::I2C, 0, 0, 1 }, spec );
    EXPECT_EQ( bus->backend(), "\"host\"" );
    EXPECT_EQ( perform( *bus, readOf( Kind::ReadByte, 1, 1 ) ).outcome, Outcome::Done );
    EXPECT_EQ( bus->trace(), "S 58 W A 01 A Sr 58 R A 00 N P" );
    EXPECT_THROW(
        factory( "again", { Smbus::I2C, 0, 0, 2 }, { smbusd::AdapterSpec::By::Number, 1, "" } ),
        smbusd::AdapterTaken );
    kernel.remove( 1 );
    EXPECT_EQ( perform( *bus, readOf( Kind::ReadByte, 1, 1 ) ).text(),
               "the adapter /dev/i2c-1 (\"host\") is gone" );
    kernel.add( 2, "host" );
    EXPECT_EQ( perform( *bus, readOf( Kind::ReadByte, 1, 1 ) ).outcome, Outcome::Done );
    ASSERT_EQ( logged.size(), 1u );
    EXPECT_EQ( logged[ 0 ],
               "bus \"real\": the adapter /dev/i2c-1 (\"host\") is back as /dev/i2c-2" );
}

} // namespace
