#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include <asio/local/stream_protocol.hpp>
#include <rapidjson/document.h>

namespace smbusd {

/** The service cannot be reached, or answers something that is no answer. */
class ControlUnreachable : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** The service refused a request; the text is its own. */
class ControlRefused : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** The control tool's connection to the service. */
class ControlClient {
  public:
    /** Connects. Throws ControlUnreachable. */
    explicit ControlClient( const std::string &path );

    /**
     * Sends one request and waits for its answer, which is left in line() too. Throws
     * ControlUnreachable, and ControlRefused if the answer says so.
     */
    rapidjson::Document call( const std::string &request );
    /** The next line of the traffic. @return whether there was one before the service ended */
    bool next( rapidjson::Document &event );
    /** The last line received, as it came. */
    const std::string &line() const { return line_; }

  private:
    std::string path_;
    asio::local::stream_protocol::iostream stream_;
    std::string line_;
};

} // namespace smbusd
