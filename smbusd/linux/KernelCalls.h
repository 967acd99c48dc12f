#pragma once

#include <functional>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <memory>
#include <optional>
#include <string>

namespace smbusd {

/**
 * The calls through which the kernel's adapters are reached, each as one that a test can replace.
 * Negative is a failure, with errno set, as with the system calls themselves.
 */
struct KernelCalls {
    /** Opens a device file for reading and writing. @return a descriptor */
    std::function<int( const char *path )> open;
    /** Closes a descriptor. */
    std::function<void( int fd )> close;
    /** The number of the adapter behind a descriptor; none when it is not an adapter's device. */
    std::function<std::optional<unsigned>( int fd )> adapterNumber;
    /** I2C_SLAVE, I2C_SLAVE_FORCE, I2C_PEC: requests with a number. */
    std::function<int( int fd, unsigned long request, unsigned long value )> set;
    /** I2C_FUNCS: what the adapter can do, bits I2C_FUNC_*. */
    std::function<int( int fd, unsigned long *functions )> functions;
    /** I2C_SMBUS: one SMBus operation, as i2c_smbus_access() of libi2c; negative is -errno. */
    std::function<int( int fd, char direction, __u8 command, int size, i2c_smbus_data *data )>
        smbus;
    /** I2C_RDWR: plain messages, the bus held between them. */
    std::function<int( int fd, i2c_rdwr_ioctl_data *transfer )> messages;
    /** Where sysfs is. */
    std::string sysfs = "/sys";
};

/** The calls of the running kernel. */
std::shared_ptr<const KernelCalls> runningKernel();

} // namespace smbusd
