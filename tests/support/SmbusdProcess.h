#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Process.h"
#include "tests/support/SmbusClient.h"

namespace test {

/** A real smbusd on a configuration, ready when the constructor returns, ended with the object. */
class SmbusdProcess {
  public:
    explicit SmbusdProcess( const std::string &hardware, const std::vector<std::string> &more = {} )
        : config_( folder_.write( "hardware.json", hardware ) ) {
        start( more );
    }
    ~SmbusdProcess() {
        if ( child_ > 0 ) {
            // Whatever a test did to it, it ends well; a sanitizer's findings end it otherwise.
            EXPECT_EQ( end( SIGTERM ).exitCode, 0 ) << log();
        }
    }
    SmbusdProcess( const SmbusdProcess & ) = delete;
    SmbusdProcess &operator=( const SmbusdProcess & ) = delete;

    std::string socket() const { return folder_.file( "smbusd.sock" ); }
    std::string control() const { return folder_.file( "control.sock" ); }
    std::string log() const {
        std::ifstream stream( folder_.file( "log" ) );
        return { std::istreambuf_iterator<char>( stream ), std::istreambuf_iterator<char>() };
    }
    const TemporaryFolder &folder() const { return folder_; }
    const std::string &config() const { return config_; }
    pid_t pid() const { return child_; }

    /** Ends it with a signal. @return how it ended */
    Finished end( int signal ) {
        ::kill( child_, signal );
        const Finished finished = await( child_ );
        child_ = 0;
        return finished;
    }
    /** Starts it again on the same sockets. */
    void start( const std::vector<std::string> &more = {} ) {
        Pipe ready;
        const int log = ::open( folder_.file( "log" ).c_str(),
                                O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600 );
        std::vector<std::string> arguments = { ORVAN_BIN_DIR "/smbusd",
                                               "--config",
                                               config_,
                                               "--socket",
                                               socket(),
                                               "--control",
                                               control(),
                                               "--ready-fd",
                                               "9" };
        arguments.insert( arguments.end(), more.begin(), more.end() );
        child_ = spawn( arguments, { { 9, ready.writeEnd }, { 2, log } } );
        ::close( log );
        ready.closeWriteEnd();
        if ( ready.readAll() != "\n" ) {
            const Finished finished = await( child_ );
            child_ = 0;
            throw std::runtime_error( "smbusd did not start (" +
                                      std::to_string( finished.exitCode ) + "): " + this->log() );
        }
    }

  private:
    TemporaryFolder folder_;
    std::string config_;
    pid_t child_ = 0;
};

} // namespace test
