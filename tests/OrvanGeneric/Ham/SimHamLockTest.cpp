#include <fcntl.h>
#include <functional>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/OrvanGeneric/Ham/SimHamFixture.h"

namespace {

using Utils::ExpectedValues;

/** Another process that holds a lock on a file. */
class LockHolder {
  public:
    LockHolder( const std::string &file, short type ) {
        int ready[ 2 ];
        if ( pipe( ready ) || pipe( release_ ) ) {
            throw std::runtime_error( "pipe" );
        }
        child_ = fork();
        if ( child_ == 0 ) {
            struct flock lock = {};
            lock.l_type = type;
            lock.l_whence = SEEK_SET;
            const int fd = open( file.c_str(), O_RDWR );
            char byte = fcntl( fd, F_SETLK, &lock ) == 0 ? 'y' : 'n';
            if ( ::write( ready[ 1 ], &byte, 1 ) != 1 || ::read( release_[ 0 ], &byte, 1 ) != 1 ) {
                _exit( 1 );
            }
            _exit( 0 );
        }
        close( ready[ 1 ] );
        char byte = 'n';
        holds_ = ::read( ready[ 0 ], &byte, 1 ) == 1 && byte == 'y';
        close( ready[ 0 ] );
    }
    ~LockHolder() { release(); }

    bool holds() const { return holds_; }
    void release() {
        if ( child_ <= 0 ) {
            return;
        }
        if ( ::write( release_[ 1 ], "", 1 ) == 1 ) {
            waitpid( child_, nullptr, 0 );
        }
        close( release_[ 0 ] );
        close( release_[ 1 ] );
        child_ = -1;
    }

  private:
    pid_t child_ = -1;
    int release_[ 2 ];
    bool holds_ = false;
};

/** Whether another process sees @p file without any lock. */
bool isUnlocked( const std::string &file ) {
    const pid_t child = fork();
    if ( child == 0 ) {
        struct flock lock = {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        const int fd = open( file.c_str(), O_RDWR );
        _exit( fcntl( fd, F_GETLK, &lock ) == 0 && lock.l_type == F_UNLCK ? 0 : 1 );
    }
    int status = 1;
    waitpid( child, &status, 0 );
    return status == 0;
}

class SimHamLock : public SimHamTest {
  protected:
    SimHamLock() {
        pauses_ = 0;
        duringPause_ = nullptr;
        Utils::os.usleep = []( useconds_t microseconds ) {
            ++pauses_;
            paused_ += microseconds;
            if ( duringPause_ ) {
                duringPause_();
            }
            return 0;
        };
    }
    ~SimHamLock() override { Utils::os.usleep = ::usleep; }

    /** Whether @p access waits for a lock of @p type that another process holds for a while. */
    bool waitsFor( short type, const std::function<void()> &access ) {
        LockHolder holder( file(), type );
        EXPECT_TRUE( holder.holds() );
        duringPause_ = [ & ] {
            contentWhileLocked_ = content( file() );
            holder.release();
        };
        access();
        duringPause_ = nullptr;
        return pauses_ > 0;
    }

    static inline unsigned pauses_;
    static inline unsigned paused_; ///< microseconds
    static inline std::function<void()> duringPause_;
    std::string contentWhileLocked_;
};

TEST_F( SimHamLock, WriteWaitsForAnotherWriter ) {
    ready();
    EXPECT_TRUE( waitsFor( F_WRLCK, [ & ] { ham_.addWrite8( 0x10, 0x99, false ); } ) );
    EXPECT_EQ( contentWhileLocked_, fileAtFirst );
    EXPECT_EQ( content( file() ).substr( 0, 2 ), "99" );
}

TEST_F( SimHamLock, WriteWaitsForAnotherReader ) {
    ready();
    EXPECT_TRUE( waitsFor( F_RDLCK, [ & ] { ham_.addWrite8( 0x10, 0x99, false ); } ) );
    EXPECT_EQ( contentWhileLocked_, fileAtFirst );
    EXPECT_EQ( content( file() ).substr( 0, 2 ), "99" );
}

TEST_F( SimHamLock, ReadWaitsForAnotherWriter ) {
    ready().addRead8( 0x10 );
    uint8_t byte = 0;
    EXPECT_TRUE( waitsFor( F_WRLCK, [ & ] { byte = ham_.get8( 0 ); } ) );
    EXPECT_EQ( byte, 0x03 );
}

TEST_F( SimHamLock, ReadSharesWithAnotherReader ) {
    ready().addRead8( 0x10 );
    uint8_t byte = 0;
    EXPECT_FALSE( waitsFor( F_RDLCK, [ & ] { byte = ham_.get8( 0 ); } ) );
    EXPECT_EQ( byte, 0x03 );
}

TEST_F( SimHamLock, ReplacingTheFileWaitsForAnotherReader ) {
    const ExpectedValues other = { { 5, { 0x7F, 1 } } };
    ready();
    EXPECT_TRUE( waitsFor( F_RDLCK, [ & ] { ham_.setExpected( &other ); } ) );
    EXPECT_EQ( contentWhileLocked_, fileAtFirst );
    EXPECT_EQ( content( file() ), "7f\n" );
}

TEST_F( SimHamLock, ALockThatIsKeptIsWaitedForOneSecond ) {
    ready().addRead8( 0x10 );
    const std::string trace =
        "cannot use simulation file " + file() + ": another process keeps it locked";
    const LockHolder holder( file(), F_WRLCK );
    ASSERT_TRUE( holder.holds() );
    paused_ = 0;
    EXPECT_EQ( ham_.get8( 0 ), 0 );
    EXPECT_EQ( paused_, 1000000u );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, trace } } ) );
    EXPECT_EQ( ham_.write8( 0x10, 0x99, false ), 0 );
    EXPECT_EQ( paused_, 2000000u );
    EXPECT_EQ( host_.texts( 0 ), ( std::vector<std::string>{ trace, trace } ) );
    EXPECT_EQ( content( file() ), fileAtFirst );
}

TEST_F( SimHamLock, NoLockIsLeftBehind ) {
    ready();
    EXPECT_TRUE( isUnlocked( file() ) );
    ham_.write8( 0x10, 1, false );
    EXPECT_TRUE( isUnlocked( file() ) );
    uint8_t byte = 0;
    ham_.read8( 0x10, &byte );
    EXPECT_TRUE( isUnlocked( file() ) );
}

} // namespace
