#include "OrvanGeneric/Ham/SimFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "OrvanGeneric/Utils.h"

namespace Ham {

namespace {

constexpr mode_t fileMode = 0644;
constexpr useconds_t lockPause = 10000; // microseconds
constexpr int lockAttempts = 100;       // 1 s in all

int openFlags( SimFile::Access access ) {
    // Opening a FIFO must not wait for its other end.
    constexpr int always = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    switch ( access ) {
    case SimFile::Access::Read:
        return O_RDONLY | always;
    case SimFile::Access::Write:
        return O_RDWR | always;
    case SimFile::Access::Create:
        return O_RDWR | O_CREAT | always;
    }
    return always;
}

} // namespace

SimFile::SimFile( const std::string &path, Access access )
    : fd_( open( path.c_str(), openFlags( access ), fileMode ) ) {
    struct stat status = {};
    if ( fd_ < 0 ) {
        missing_ = errno == ENOENT;
        problem_ = errno == ELOOP ? "it is a symbolic link" : strerror( errno );
    } else if ( fstat( fd_, &status ) < 0 ) {
        problem_ = strerror( errno );
    } else if ( !S_ISREG( status.st_mode ) ) {
        problem_ = "it is not a regular file";
    } else {
        lock( access == Access::Read ? F_RDLCK : F_WRLCK );
    }
}

SimFile::~SimFile() {
    if ( fd_ >= 0 ) {
        close( fd_ );
    }
}

void SimFile::lock( short type ) {
    for ( int attempt = 0;; ++attempt ) {
        struct flock whole = {};
        whole.l_type = type;
        whole.l_whence = SEEK_SET;
        if ( fcntl( fd_, F_SETLK, &whole ) == 0 ) {
            return;
        }
        if ( errno != EAGAIN && errno != EACCES && errno != EINTR ) {
            problem_ = std::string( "it cannot be locked: " ) + strerror( errno );
            return;
        }
        if ( attempt == lockAttempts ) {
            problem_ = "another process keeps it locked";
            return;
        }
        Utils::os.usleep( lockPause );
    }
}

} // namespace Ham
