#include "tests/support/SmbusdProcess.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <unistd.h>

#include <gtest/gtest.h>

#include "common/Descriptor.h"

namespace test {

namespace {

constexpr int readyDescriptor = 9;

} // namespace

SmbusdProcess::SmbusdProcess( const std::string &hardware, const std::vector<std::string> &more )
    : config_( folder_.write( "hardware.json", hardware ) ) {
    start( more );
}

SmbusdProcess::~SmbusdProcess() {
    if ( child_.pid() > 0 ) {
        // Whatever a test did to it, it ends well; a sanitizer's findings end it otherwise.
        EXPECT_EQ( end( SIGTERM ).exitCode, 0 ) << log();
    }
}

std::string SmbusdProcess::log() const {
    const std::string file = folder_.file( "log" );
    return std::filesystem::exists( file ) ? common::readFile( file ) : std::string();
}

common::ChildEnd SmbusdProcess::end( int signal ) {
    child_.signal( signal );
    return child_.wait();
}

void SmbusdProcess::start( const std::vector<std::string> &more ) {
    common::Pipe ready = common::makePipe();
    const common::Descriptor log(
        ::open( folder_.file( "log" ).c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600 ) );
    std::vector<std::string> words = { ORVAN_BIN_DIR "/smbusd",
                                       "--config",
                                       config_,
                                       "--socket",
                                       socket(),
                                       "--control",
                                       control(),
                                       "--ready-fd",
                                       std::to_string( readyDescriptor ) };
    words.insert( words.end(), more.begin(), more.end() );
    common::ChildOptions options;
    options.descriptors = { { readyDescriptor, ready.writeEnd.get() },
                            { STDERR_FILENO, log.get() } };
    child_ = common::Child( words, options );
    ready.writeEnd.close();
    if ( common::readAll( ready.readEnd ) != "\n" ) {
        throw std::runtime_error( "smbusd " + child_.wait().text() +
                                  " before it listened: " + this->log() );
    }
}

} // namespace test
