#include "smbusd/linux/BlockingWorker.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace smbusd {

struct BlockingWorker::State {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<std::function<void()>()>> tasks;
    bool ending = false; ///< no task begins any more
    bool left = false;   ///< nobody wants an outcome any more
    bool ended = false;  ///< the thread has done its last
};

BlockingWorker::BlockingWorker() : state_( std::make_shared<State>() ) {
    std::thread( [ state = state_ ] { run( state ); } ).detach();
}

void BlockingWorker::post( std::function<std::function<void()>()> blocking ) {
    {
        const std::lock_guard lock( state_->mutex );
        state_->tasks.push_back( std::move( blocking ) );
    }
    state_->changed.notify_all();
}

bool BlockingWorker::end( std::chrono::milliseconds patience ) {
    std::unique_lock lock( state_->mutex );
    state_->ending = true;
    state_->changed.notify_all();
    const bool ended =
        state_->changed.wait_for( lock, patience, [ this ] { return state_->ended; } );
    state_->left = true;
    return ended;
}

void BlockingWorker::run( const std::shared_ptr<State> &state ) {
    std::unique_lock lock( state->mutex );
    for ( ;; ) {
        state->changed.wait( lock, [ & ] { return state->ending || !state->tasks.empty(); } );
        if ( state->ending ) {
            break;
        }
        auto task = std::move( state->tasks.front() );
        state->tasks.pop_front();
        lock.unlock();
        const std::function<void()> deliver = task();
        task = nullptr;
        lock.lock();
        // Under the lock: the thread that ends the worker may then free what this reaches.
        if ( !state->left ) {
            deliver();
        }
    }
    state->ended = true;
    state->changed.notify_all();
}

} // namespace smbusd
