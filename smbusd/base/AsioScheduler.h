#pragma once

#include <asio/io_context.hpp>

#include "smbusd/base/Scheduler.h"

namespace smbusd {

/** Real time, on the service's event loop. */
class AsioScheduler : public Scheduler {
  public:
    /** @param loop  runs the callbacks; outlives the scheduler */
    explicit AsioScheduler( asio::io_context &loop ) : loop_( loop ) {}

    Duration now() const override;
    void after( Duration delay, std::function<void()> callback ) override;
    void post( std::function<void()> callback ) override;

  private:
    asio::io_context &loop_;
};

} // namespace smbusd
