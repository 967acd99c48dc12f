/**
 * @file
 * Raw SMBus access to one device.
 */
#ifndef PL_SMBUS_H
#define PL_SMBUS_H

#include <pl/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** An endpoint as the host knows it. */
typedef struct pl_smbus pl_smbus;

/**
 * Callbacks of a raw SMBus endpoint, named after the bus protocols of the SMBus specification. Words
 * are host integers; on the wire the low byte comes first. Outputs are set on PL_STATUS_OK only.
 */
typedef struct pl_smbus_ops {
    uint32_t size; ///< of this table, in bytes
    /** Addresses the device without data; @p read is the read/write bit. */
    pl_status ( *quick_command )( pl_smbus *smbus, int read );
    /** Reads a byte without a command. */
    pl_status ( *receive_byte )( pl_smbus *smbus, unsigned char *value );
    /** Writes a byte without a command. */
    pl_status ( *send_byte )( pl_smbus *smbus, unsigned char value );
    /** Reads a byte. */
    pl_status ( *read_byte )( pl_smbus *smbus, unsigned char command, unsigned char *value );
    /** Writes a byte. */
    pl_status ( *write_byte )( pl_smbus *smbus, unsigned char command, unsigned char value );
    /** Reads a word. */
    pl_status ( *read_word )( pl_smbus *smbus, unsigned char command, unsigned short *value );
    /** Writes a word. */
    pl_status ( *write_word )( pl_smbus *smbus, unsigned char command, unsigned short value );
    /** The device decides how much comes: @p data must hold 255 bytes; @p length is set. */
    pl_status ( *block_read )( pl_smbus *smbus, unsigned char command, unsigned char *data,
                               unsigned int *length );
    /** Writes @p length bytes, their number before them. */
    pl_status ( *block_write )( pl_smbus *smbus, unsigned char command, const unsigned char *data,
                                unsigned int length );
    /** Reads exactly @p length bytes; fewer answer PL_STATUS_TRANSPORT and leave @p data alone. */
    pl_status ( *i2c_block_read )( pl_smbus *smbus, unsigned char command, unsigned char *data,
                                   unsigned int length );
    /** Writes @p length bytes without their number. */
    pl_status ( *i2c_block_write )( pl_smbus *smbus, unsigned char command,
                                    const unsigned char *data, unsigned int length );
    /** Writes a word, then reads one into @p reply. */
    pl_status ( *process_call )( pl_smbus *smbus, unsigned char command, unsigned short value,
                                 unsigned short *reply );
    /** Writes a block, then reads one; @p reply must hold 255 bytes, @p reply_length is set. */
    pl_status ( *block_process_call )( pl_smbus *smbus, unsigned char command,
                                       const unsigned char *data, unsigned char length,
                                       unsigned char *reply, unsigned char *reply_length );
} pl_smbus_ops;

/** An endpoint as the host knows it. Owned by the driver library, valid as long as the process. */
struct pl_smbus {
    uint32_t id;             ///< for the host's use; 0 at first
    const pl_smbus_ops *ops; ///< what it can do; never null
    void *priv;              ///< the library's own
};

/**
 * Opens the SMBus service and loads the board's topology.
 * @param topology  the topology, JSON text; the same text again is recognised and kept
 * @return PL_STATUS_OK; PL_STATUS_TRANSPORT: no service; PL_STATUS_INVALID: not JSON;
 *         PL_STATUS_FAILED: no tree could be built
 */
pl_status pl_smbus_init( const char *topology );

/**
 * Adds raw access to a device; null on failure.
 * @param device   a description (JSON text), or the label of a device in the topology without the
 *                 address that ends it: "PSU1" for the device labelled "PSU1<0x58>"
 * @param address  with a label: the device's 7-bit SMBus address
 */
pl_smbus *pl_smbus_add( const char *device, unsigned char address );

#ifdef __cplusplus
}
#endif

#endif
