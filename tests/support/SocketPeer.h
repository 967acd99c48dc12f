#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "common/Descriptor.h"
#include "common/TemporaryFolder.h"

namespace support {

/** A flag that threads of one test wait for. */
class Event {
  public:
    void set();
    /** @return false when nobody set it for so long that the test is broken. */
    bool wait();

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool set_ = false;
};

/**
 * The far end of a UNIX stream socket, in a temporary folder of its own, that does whatever a test
 * has it do: a handler runs per connection, each in a thread.
 */
class SocketPeer {
  public:
    /** One accepted connection. Closed when its handler returns. */
    class Connection {
      public:
        /** @p frames is counted up per whole frame read. */
        Connection( common::Descriptor socket, int index, std::atomic<int> &frames );
        Connection( const Connection & ) = delete;
        Connection &operator=( const Connection & ) = delete;

        /** 0 for the peer's first connection, and so on, over restarts. */
        int index() const { return index_; }

        /** Reads exactly @p size bytes. @return false: the client closed before. */
        bool read( size_t size, std::string &bytes );
        /** Reads one frame: four bytes of length, high byte first, and the message. */
        bool readFrame( std::string &message );
        /** @return false: the client has closed. */
        bool send( std::string_view bytes );
        /** Sends @p message as one frame. */
        bool sendFrame( std::string_view message );

        /** Reads and drops everything until the client closes. */
        void awaitClose();
        /** shutdown(2) with @p how. */
        void shutDown( int how );
        void close();

      private:
        const int index_;
        std::atomic<int> &frames_;
        std::mutex mutex_; // of socket_, which stop() shuts down from another thread
        common::Descriptor socket_;
    };

    using Handler = std::function<void( Connection & )>;

    /** Listens at once. */
    explicit SocketPeer( Handler handler );
    /** Stops and removes the folder. */
    ~SocketPeer();
    SocketPeer( const SocketPeer & ) = delete;
    SocketPeer &operator=( const SocketPeer & ) = delete;

    /** Where it listens. */
    const std::string &path() const { return path_; }
    /** How many connections came, and how many whole frames on all of them. */
    int connections() const { return connections_; }
    int frames() const { return frames_; }

    /** Ends all connections and the listening socket as a service's death does. */
    void stop();
    /** Listens anew on the same path. */
    void start();

  private:
    void acceptAll();

    Handler handler_;
    common::TemporaryFolder folder_{ "orvan-peer" };
    std::string path_;
    std::atomic<int> connections_ = 0;
    std::atomic<int> frames_ = 0;
    common::Descriptor listener_;
    std::thread acceptor_;
    std::mutex mutex_; // of open_
    std::list<Connection> open_;
    std::list<std::thread> handlers_;
};

/** The calling thread, for waitUntilAsleep(). */
int currentThread();

/** Waits until @p thread of this process sleeps in the kernel, where only an event wakes it. */
void waitUntilAsleep( int thread );

} // namespace support
