#pragma once

#include <pl/smbus.h>

namespace Component::LogicalDevice {

/**
 * Raw SMBus access to one device, one operation for each bus protocol of the SMBus specification.
 * Its virtual operations begin with quickCommand: there is no virtual destructor, since an endpoint
 * lives as long as the process. Their order is fixed.
 *
 * "command" is the command code, or the register, that the device is asked for. Words are host
 * integers; on the wire the low byte comes first. Buffers are the caller's. Operations return
 * PL_STATUS_OK, otherwise the failed access's status; outputs are set on success only.
 */
class SmbusProxy {
  public:
    /** Fills the record: number 0, this class's callbacks, the way back to this object. */
    SmbusProxy() : record_{ 0, &ops_, this } {}
    SmbusProxy( const SmbusProxy & ) = delete;
    SmbusProxy &operator=( const SmbusProxy & ) = delete;

    /**
     * Quick Command: addresses the device, no data.
     * @param read  the read/write bit: 0 write, otherwise read
     * @throws NotImplementedException unless a driver offers it
     */
    virtual pl_status quickCommand( int read );
    /** Receive Byte: reads a byte without a command. */
    virtual pl_status receiveByte( unsigned char *value ) = 0;
    /** Send Byte: writes a byte without a command. */
    virtual pl_status sendByte( unsigned char value ) = 0;
    /** Read Byte. */
    virtual pl_status readByte( unsigned char command, unsigned char *value ) = 0;
    /** Write Byte. */
    virtual pl_status writeByte( unsigned char command, unsigned char value ) = 0;
    /** Read Word. */
    virtual pl_status readWord( unsigned char command, unsigned short *value ) = 0;
    /** Write Word. */
    virtual pl_status writeWord( unsigned char command, unsigned short value ) = 0;
    /**
     * Block Read: the device tells how many bytes come.
     * @param command  command code
     * @param data     must have room for 255 bytes
     * @param length   receives the number of bytes that came
     * @return also PL_STATUS_TRANSPORT for more than 255 bytes
     */
    virtual pl_status blockRead( unsigned char command, unsigned char *data,
                                 unsigned int *length ) = 0;
    /** Block Write: @p length goes before the bytes. */
    virtual pl_status blockWrite( unsigned char command, const unsigned char *data,
                                  unsigned int length ) = 0;
    /**
     * Reads @p length bytes without a length on the wire.
     * @param command  command code
     * @param data     must have room for @p length bytes
     * @param length   how many bytes must come
     * @return PL_STATUS_OK, or PL_STATUS_TRANSPORT for every failure, fewer bytes included
     */
    virtual pl_status i2cBlockRead( unsigned char command, unsigned char *data,
                                    unsigned int length ) = 0;
    /** Writes @p length bytes without a length on the wire. */
    virtual pl_status i2cBlockWrite( unsigned char command, const unsigned char *data,
                                     unsigned int length ) = 0;
    /** Process Call: writes a word, then reads one. */
    virtual pl_status processCall( unsigned char command, unsigned short value,
                                   unsigned short *reply ) = 0;
    /**
     * Block Process Call: writes a block, then reads one.
     * @param command      command code
     * @param data         the bytes to write
     * @param length       how many
     * @param reply        must have room for 255 bytes
     * @param replyLength  receives the number of bytes that came
     * @throws NotImplementedException unless a driver offers it
     */
    virtual pl_status blockProcessCall( unsigned char command, const unsigned char *data,
                                        unsigned char length, unsigned char *reply,
                                        unsigned char *replyLength );

    /** What the host gets; part of this object. */
    pl_smbus *record() { return &record_; }

    /** The host's quick_command: traces, then quickCommand(). */
    static pl_status quickCommandCallback( pl_smbus *smbus, int read );
    /** The host's receive_byte: traces, then receiveByte(). */
    static pl_status receiveByteCallback( pl_smbus *smbus, unsigned char *value );
    /** The host's send_byte: traces, then sendByte(). */
    static pl_status sendByteCallback( pl_smbus *smbus, unsigned char value );
    /** The host's read_byte: traces, then readByte(). */
    static pl_status readByteCallback( pl_smbus *smbus, unsigned char command,
                                       unsigned char *value );
    /** The host's write_byte: traces, then writeByte(). */
    static pl_status writeByteCallback( pl_smbus *smbus, unsigned char command,
                                        unsigned char value );
    /** The host's read_word: traces, then readWord(). */
    static pl_status readWordCallback( pl_smbus *smbus, unsigned char command,
                                       unsigned short *value );
    /** The host's write_word: traces, then writeWord(). */
    static pl_status writeWordCallback( pl_smbus *smbus, unsigned char command,
                                        unsigned short value );
    /** The host's block_read: traces, then blockRead(). */
    static pl_status blockReadCallback( pl_smbus *smbus, unsigned char command, unsigned char *data,
                                        unsigned int *length );
    /** The host's block_write: traces, then blockWrite(). */
    static pl_status blockWriteCallback( pl_smbus *smbus, unsigned char command,
                                         const unsigned char *data, unsigned int length );
    /** The host's i2c_block_read: traces, then i2cBlockRead(). */
    static pl_status i2cBlockReadCallback( pl_smbus *smbus, unsigned char command,
                                           unsigned char *data, unsigned int length );
    /** The host's i2c_block_write: traces, then i2cBlockWrite(). */
    static pl_status i2cBlockWriteCallback( pl_smbus *smbus, unsigned char command,
                                            const unsigned char *data, unsigned int length );
    /** The host's process_call: traces, then processCall(). */
    static pl_status processCallCallback( pl_smbus *smbus, unsigned char command,
                                          unsigned short value, unsigned short *reply );
    /** The host's block_process_call: traces, then blockProcessCall(). */
    static pl_status blockProcessCallCallback( pl_smbus *smbus, unsigned char command,
                                               const unsigned char *data, unsigned char length,
                                               unsigned char *reply, unsigned char *replyLength );
    /** The callbacks of every endpoint, for the host's records. */
    static const pl_smbus_ops ops_;

  protected:
    ~SmbusProxy() = default;

  private:
    pl_smbus record_;
};

} // namespace Component::LogicalDevice
