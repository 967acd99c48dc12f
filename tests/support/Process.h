#pragma once

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace test {

/** A folder of its own for a test, removed with all that is in it. */
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string pattern =
            ( std::filesystem::temp_directory_path() / "orvan-test-XXXXXX" ).string();
        if ( ::mkdtemp( pattern.data() ) == nullptr ) {
            throw std::runtime_error( "no temporary folder" );
        }
        path_ = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all( path_, ignored );
    }
    TemporaryFolder( const TemporaryFolder & ) = delete;
    TemporaryFolder &operator=( const TemporaryFolder & ) = delete;

    std::string file( const std::string &name ) const { return path_ + "/" + name; }
    std::string write( const std::string &name, const std::string &content ) const {
        std::ofstream( file( name ), std::ios::binary ) << content;
        return file( name );
    }
    const std::string &path() const { return path_; }

  private:
    std::string path_;
};

/** The read end of a pipe that collects what a child writes. */
struct Pipe {
    int readEnd = -1;
    int writeEnd = -1;
    Pipe() {
        int ends[ 2 ];
        if ( ::pipe2( ends, O_CLOEXEC ) != 0 ) {
            throw std::runtime_error( "no pipe" );
        }
        readEnd = ends[ 0 ];
        writeEnd = ends[ 1 ];
    }
    ~Pipe() {
        ::close( readEnd );
        closeWriteEnd();
    }
    Pipe( const Pipe & ) = delete;
    Pipe &operator=( const Pipe & ) = delete;
    void closeWriteEnd() {
        if ( writeEnd >= 0 ) {
            ::close( writeEnd );
            writeEnd = -1;
        }
    }
    std::string readAll() {
        std::string text;
        char buffer[ 4096 ];
        for ( ssize_t got; ( got = ::read( readEnd, buffer, sizeof( buffer ) ) ) > 0; ) {
            text.append( buffer, static_cast<size_t>( got ) );
        }
        return text;
    }
};

struct Finished {
    int exitCode; ///< -1 when a signal ended it
    int signal;
    std::string output;
    std::string errors;
};

/** Starts a program; extra descriptors (number in the child, number here) are handed on. */
inline pid_t spawn( const std::vector<std::string> &arguments,
                    const std::vector<std::pair<int, int>> &descriptors,
                    const std::vector<std::string> &environment = {} ) {
    const pid_t child = ::fork();
    if ( child != 0 ) {
        return child;
    }
    for ( const auto &[ there, here ] : descriptors ) {
        if ( there == here ) {
            ::fcntl( here, F_SETFD, 0 );
        } else {
            ::dup2( here, there );
        }
    }
    for ( const std::string &entry : environment ) {
        const size_t equals = entry.find( '=' );
        std::string value = entry.substr( equals + 1 );
        if ( value == "SELF" ) {
            value = std::to_string( ::getpid() );
        }
        ::setenv( entry.substr( 0, equals ).c_str(), value.c_str(), 1 );
    }
    std::vector<char *> argv;
    for ( const std::string &argument : arguments ) {
        argv.push_back( const_cast<char *>( argument.c_str() ) );
    }
    argv.push_back( nullptr );
    ::execv( argv[ 0 ], argv.data() );
    ::_exit( 127 );
}

inline Finished await( pid_t child ) {
    int status = 0;
    ::waitpid( child, &status, 0 );
    return { WIFEXITED( status ) ? WEXITSTATUS( status ) : -1,
             WIFSIGNALED( status ) ? WTERMSIG( status ) : 0,
             {},
             {} };
}

/** Runs a program to its end; its output must fit a pipe unless it is read meanwhile. */
inline Finished runProgram( const std::vector<std::string> &arguments ) {
    Pipe output;
    Pipe errors;
    const pid_t child = spawn( arguments, { { 1, output.writeEnd }, { 2, errors.writeEnd } } );
    output.closeWriteEnd();
    errors.closeWriteEnd();
    std::string outputText = output.readAll();
    std::string errorText = errors.readAll();
    Finished finished = await( child );
    finished.output = std::move( outputText );
    finished.errors = std::move( errorText );
    return finished;
}

} // namespace test
