#include "smbusd/base/AsioScheduler.h"

#include <memory>

#include <asio/post.hpp>
#include <asio/steady_timer.hpp>

namespace smbusd {

Duration AsioScheduler::now() const {
    return std::chrono::steady_clock::now().time_since_epoch();
}

void AsioScheduler::after( Duration delay, std::function<void()> callback ) {
    auto timer = std::make_shared<asio::steady_timer>( loop_, delay );
    timer->async_wait( [ timer, callback = std::move( callback ) ]( std::error_code error ) {
        if ( !error ) {
            callback();
        }
    } );
}

void AsioScheduler::post( std::function<void()> callback ) {
    asio::post( loop_, std::move( callback ) );
}

} // namespace smbusd
