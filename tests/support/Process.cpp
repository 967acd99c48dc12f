#include "tests/support/Process.h"

#include <stdexcept>
#include <thread>
#include <unistd.h>

#include "common/Descriptor.h"

namespace test {

Finished runProgram( const std::vector<std::string> &words, const std::string &input ) {
    common::Pipe in = common::makePipe();
    if ( ::write( in.writeEnd.get(), input.data(), input.size() ) !=
         static_cast<ssize_t>( input.size() ) ) {
        throw std::runtime_error( "the input does not fit a pipe" );
    }
    in.writeEnd.close();
    common::Pipe output = common::makePipe();
    common::Pipe errors = common::makePipe();
    common::ChildOptions options;
    options.descriptors = { { STDIN_FILENO, in.readEnd.get() },
                            { STDOUT_FILENO, output.writeEnd.get() },
                            { STDERR_FILENO, errors.writeEnd.get() } };
    common::Child child( words, options );
    output.writeEnd.close();
    errors.writeEnd.close();
    Finished finished;
    std::thread complaints( [ & ] { finished.errors = common::readAll( errors.readEnd ); } );
    finished.output = common::readAll( output.readEnd );
    complaints.join();
    static_cast<common::ChildEnd &>( finished ) = child.wait();
    return finished;
}

} // namespace test
