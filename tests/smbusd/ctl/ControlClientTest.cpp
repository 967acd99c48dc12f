#include "smbusd/ctl/ControlClient.h"

#include <thread>

#include <asio/io_context.hpp>
#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <gtest/gtest.h>

#include "common/TemporaryFolder.h"

namespace {

using asio::local::stream_protocol;
using smbusd::ControlClient;

/** A service of one connection that reads one line, says what the test wants, and is gone. */
class OneAnswer {
  public:
    explicit OneAnswer( std::string answer )
        : acceptor_( loop_, stream_protocol::endpoint( path() ) ),
          thread_( [ this, answer = std::move( answer ) ] {
              stream_protocol::socket socket( loop_ );
              acceptor_.accept( socket );
              asio::read_until( socket, asio::dynamic_buffer( request ), '\n' );
              asio::write( socket, asio::buffer( answer ) );
          } ) {}
    ~OneAnswer() { thread_.join(); }

    std::string path() const { return folder_.file( "control" ); }

  private:
    common::TemporaryFolder folder_;
    asio::io_context loop_;
    stream_protocol::acceptor acceptor_;

  public:
    std::string request; ///< to be looked at after the answer came

  private:
    std::thread thread_;
};

template <typename Error, typename Action>
std::string errorOf( Action action ) {
    try {
        action();
    } catch ( const Error &error ) {
        return error.what();
    }
    return "no error";
}

TEST( ControlClient, SendsALineAndGivesTheAnswerAsItCame ) {
    OneAnswer service( "{\"ok\":true, \"cleared\":2}\n" );
    ControlClient client( service.path() );
    EXPECT_EQ( client.call( R"({"command":"clear"})" )[ "cleared" ].GetInt(), 2 );
    EXPECT_EQ( client.line(), "{\"ok\":true, \"cleared\":2}" );
    EXPECT_EQ( service.request, "{\"command\":\"clear\"}\n" );
}

TEST( ControlClient, ARefusalHasTheServicesOwnReason ) {
    OneAnswer service( "{\"ok\":false,\"error\":\"no such chip\"}\n" );
    ControlClient client( service.path() );
    EXPECT_EQ( errorOf<smbusd::ControlRefused>( [ & ] { client.call( "{}" ); } ), "no such chip" );
}

TEST( ControlClient, ARefusalMayComeWithoutAReason ) {
    OneAnswer service( "{\"ok\":false}\n" );
    ControlClient client( service.path() );
    EXPECT_EQ( errorOf<smbusd::ControlRefused>( [ & ] { client.call( "{}" ); } ),
               "refused without a reason" );
}

TEST( ControlClient, TellsWhenTheConnectionEndsInstead ) {
    OneAnswer service( "" );
    ControlClient client( service.path() );
    EXPECT_EQ( errorOf<smbusd::ControlUnreachable>( [ & ] { client.call( "{}" ); } ),
               service.path() + ": the connection ended without an answer" );
}

TEST( ControlClient, TellsWhenSomethingElseAnswers ) {
    OneAnswer service( "HTTP/1.1 400\n" );
    ControlClient client( service.path() );
    EXPECT_EQ( errorOf<smbusd::ControlUnreachable>( [ & ] { client.call( "{}" ); } ),
               service.path() + ": no answer of smbusd: HTTP/1.1 400" );
}

TEST( ControlClient, ReadsEventsUntilTheServiceEnds ) {
    OneAnswer service( "{\"ok\":true}\n{\"event\":\"a\"}\n" );
    ControlClient client( service.path() );
    client.call( "{}" );
    rapidjson::Document event;
    EXPECT_TRUE( client.next( event ) );
    EXPECT_STREQ( event[ "event" ].GetString(), "a" );
    EXPECT_FALSE( client.next( event ) );
}

TEST( ControlClient, SaysWhereItFoundNobody ) {
    const common::TemporaryFolder folder;
    const std::string path = folder.file( "none" );
    EXPECT_EQ( errorOf<smbusd::ControlUnreachable>( [ & ] { ControlClient client( path ); } ),
               path + ": No such file or directory (is smbusd running? --control names its control "
                      "socket)" );
    const std::string tooLong = "/" + std::string( 200, 'x' );
    EXPECT_EQ( errorOf<smbusd::ControlUnreachable>( [ & ] {
                   ControlClient client( tooLong );
               } ).substr( 0, tooLong.size() + 2 ),
               tooLong + ": " );
}

} // namespace
