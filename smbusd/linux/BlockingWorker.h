#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace smbusd {

/**
 * A thread for calls that block, one after another. Its end waits for the call that is under way,
 * but within a bound: a hung adapter keeps its thread, not the service.
 *
 * A task has two halves: what blocks, which must own whatever it uses, as it may outlive
 * everything else; and what is done with the outcome, which is left out once the worker has ended.
 */
class BlockingWorker {
  public:
    BlockingWorker();
    /** Ends at once if it has not been ended yet. */
    ~BlockingWorker() { end( std::chrono::milliseconds( 0 ) ); }
    BlockingWorker( const BlockingWorker & ) = delete;
    BlockingWorker &operator=( const BlockingWorker & ) = delete;

    /**
     * Does one thing after what was posted before.
     *
     * @param blocking  what blocks; it returns what to do then, on the same thread
     */
    void post( std::function<std::function<void()>()> blocking );

    /**
     * Takes no more tasks, forgets those that have not begun and waits for the one that has.
     * @return false if that took longer, and the thread was left to itself
     */
    bool end( std::chrono::milliseconds patience );

  private:
    struct State;
    static void run( const std::shared_ptr<State> &state );

    std::shared_ptr<State> state_;
};

} // namespace smbusd
