#include "smbusd/linux/KernelCalls.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

extern "C" {
#include <i2c/smbus.h>
}

namespace smbusd {

namespace {

/** Major number of the adapters' device files; their minor number is the adapter's number. */
constexpr unsigned i2cMajor = 89;

std::optional<unsigned> adapterNumber( int fd ) {
    struct stat status {};
    if ( ::fstat( fd, &status ) < 0 || !S_ISCHR( status.st_mode ) ||
         major( status.st_rdev ) != i2cMajor ) {
        return std::nullopt;
    }
    return minor( status.st_rdev );
}

} // namespace

std::shared_ptr<const KernelCalls> runningKernel() {
    KernelCalls calls;
    calls.open = []( const char *path ) { return ::open( path, O_RDWR | O_CLOEXEC ); };
    calls.close = []( int fd ) { ::close( fd ); };
    calls.adapterNumber = adapterNumber;
    calls.set = []( int fd, unsigned long request, unsigned long value ) {
        return ::ioctl( fd, request, value );
    };
    calls.functions = []( int fd, unsigned long *functions ) {
        return ::ioctl( fd, I2C_FUNCS, functions );
    };
    calls.smbus = i2c_smbus_access;
    calls.messages = []( int fd, i2c_rdwr_ioctl_data *transfer ) {
        return ::ioctl( fd, I2C_RDWR, transfer );
    };
    return std::make_shared<const KernelCalls>( std::move( calls ) );
}

} // namespace smbusd
