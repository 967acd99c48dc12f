#include "smbusd/linux/BlockingWorker.h"

#include <future>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using smbusd::BlockingWorker;
using Delivery = std::function<void()>;

/** Longer than any test takes, so that it is never used up. */
constexpr auto endlessPatience = 1h;

TEST( BlockingWorker, DoesOneTaskAfterAnotherOnAThreadOfItsOwn ) {
    std::vector<int> order;
    std::promise<std::thread::id> last;
    BlockingWorker worker;
    for ( int i = 0; i < 3; i++ ) {
        worker.post( [ &order, i ]() -> Delivery {
            order.push_back( i );
            return [ &order, i ] { order.push_back( 10 * i ); };
        } );
    }
    worker.post( [ &last ]() -> Delivery {
        return [ &last ] { last.set_value( std::this_thread::get_id() ); };
    } );
    EXPECT_TRUE( last.get_future().get() != std::this_thread::get_id() );
    EXPECT_EQ( order, ( std::vector<int>{ 0, 0, 1, 10, 2, 20 } ) );
}

TEST( BlockingWorker, ItsEndWaitsForWhatHasBegunAndDeliversItsOutcome ) {
    std::promise<void> begun;
    std::promise<void> release;
    bool delivered = false;
    BlockingWorker worker;
    worker.post( [ & ]() -> Delivery {
        begun.set_value();
        release.get_future().wait();
        return [ & ] { delivered = true; };
    } );
    begun.get_future().wait();
    std::thread releaser( [ & ] { release.set_value(); } );
    EXPECT_TRUE( worker.end( endlessPatience ) );
    releaser.join();
    EXPECT_TRUE( delivered );
}

TEST( BlockingWorker, ItsEndForgetsWhatHasNotBegun ) {
    std::promise<void> begun;
    std::promise<void> release;
    bool other = false;
    BlockingWorker worker;
    worker.post( [ & ]() -> Delivery {
        begun.set_value();
        release.get_future().wait();
        return [] {};
    } );
    worker.post( [ & ]() -> Delivery {
        other = true;
        return [] {};
    } );
    begun.get_future().wait();
    EXPECT_FALSE( worker.end( 0ms ) );
    release.set_value();
    EXPECT_TRUE( worker.end( endlessPatience ) );
    EXPECT_FALSE( other );
}

TEST( BlockingWorker, LeavesATaskThatDoesNotEndAndNeverDeliversItsOutcome ) {
    std::promise<void> begun;
    auto release = std::make_shared<std::promise<void>>();
    auto gone = std::make_shared<std::promise<void>>();
    bool delivered = false;
    {
        BlockingWorker worker;
        // The last owner of this tells when the thread has let go of the task and its outcome.
        const std::shared_ptr<void> owner( nullptr, [ gone ]( void * ) { gone->set_value(); } );
        worker.post( [ &begun, &delivered, release, owner ]() -> Delivery {
            begun.set_value();
            release->get_future().wait();
            return [ &delivered, owner ] { delivered = true; };
        } );
        begun.get_future().wait();
        EXPECT_FALSE( worker.end( 0ms ) );
    }
    release->set_value();
    gone->get_future().wait();
    EXPECT_FALSE( delivered );
}

TEST( BlockingWorker, EndsWithoutWaitingWhenThereIsNothingToDo ) {
    BlockingWorker worker;
    EXPECT_TRUE( worker.end( endlessPatience ) );
    EXPECT_TRUE( worker.end( 0ms ) );
}

} // namespace
