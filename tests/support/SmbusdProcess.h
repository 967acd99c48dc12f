#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "common/Child.h"
#include "common/TemporaryFolder.h"

namespace test {

/** A real smbusd on a configuration, ready when the constructor returns, ended with the object. */
class SmbusdProcess {
  public:
    /**
     * @param hardware  the configuration's text
     * @param more      further arguments
     * Throws std::runtime_error with the log when it does not come up.
     */
    explicit SmbusdProcess( const std::string &hardware,
                            const std::vector<std::string> &more = {} );
    /** Ends it, and fails the test unless it ends well. */
    ~SmbusdProcess();
    SmbusdProcess( const SmbusdProcess & ) = delete;
    SmbusdProcess &operator=( const SmbusdProcess & ) = delete;

    /** Where clients connect. */
    std::string socket() const { return folder_.file( "smbusd.sock" ); }
    /** Where smbusctl connects. */
    std::string control() const { return folder_.file( "control.sock" ); }
    /** What it has logged, over restarts. */
    std::string log() const;
    /** Its own folder, with its sockets and its configuration. */
    const common::TemporaryFolder &folder() const { return folder_; }
    /** The path of its configuration. */
    const std::string &config() const { return config_; }
    /** Its process id. */
    pid_t pid() const { return child_.pid(); }

    /** Ends it with a signal. @return how it ended */
    common::ChildEnd end( int signal );
    /** Starts it again on the same sockets. */
    void start( const std::vector<std::string> &more = {} );

  private:
    common::TemporaryFolder folder_{ "orvan-test" };
    std::string config_;
    common::Child child_;
};

} // namespace test
