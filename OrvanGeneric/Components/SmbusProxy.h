#pragma once

#include <pl/smbus.h>

namespace Component::LogicalDevice {

/**
 * Raw SMBus access to one device. Its virtual operations begin with quickCommand: there is no
 * virtual destructor, since an endpoint lives as long as the process.
 */
class SmbusProxy {
  public:
    SmbusProxy() : record_{ 0, &ops_, this } {}
    SmbusProxy( const SmbusProxy & ) = delete;
    SmbusProxy &operator=( const SmbusProxy & ) = delete;

    /** Throws NotImplementedException unless a driver offers it; so does blockProcessCall. */
    virtual pl_status quickCommand( int read );
    virtual pl_status receiveByte( unsigned char *value ) = 0;
    virtual pl_status sendByte( unsigned char value ) = 0;
    virtual pl_status readByte( unsigned char command, unsigned char *value ) = 0;
    virtual pl_status writeByte( unsigned char command, unsigned char value ) = 0;
    virtual pl_status readWord( unsigned char command, unsigned short *value ) = 0;
    virtual pl_status writeWord( unsigned char command, unsigned short value ) = 0;
    virtual pl_status blockRead( unsigned char command, unsigned char *data,
                                 unsigned int *length ) = 0;
    virtual pl_status blockWrite( unsigned char command, const unsigned char *data,
                                  unsigned int length ) = 0;
    virtual pl_status i2cBlockRead( unsigned char command, unsigned char *data,
                                    unsigned int length ) = 0;
    virtual pl_status i2cBlockWrite( unsigned char command, const unsigned char *data,
                                     unsigned int length ) = 0;
    virtual pl_status processCall( unsigned char command, unsigned short value,
                                   unsigned short *reply ) = 0;
    virtual pl_status blockProcessCall( unsigned char command, const unsigned char *data,
                                        unsigned char length, unsigned char *reply,
                                        unsigned char *replyLength );

    /** What the host gets. */
    pl_smbus *record() { return &record_; }

    static pl_status quickCommandCallback( pl_smbus *smbus, int read );
    static pl_status receiveByteCallback( pl_smbus *smbus, unsigned char *value );
    static pl_status sendByteCallback( pl_smbus *smbus, unsigned char value );
    static pl_status readByteCallback( pl_smbus *smbus, unsigned char command,
                                       unsigned char *value );
    static pl_status writeByteCallback( pl_smbus *smbus, unsigned char command,
                                        unsigned char value );
    static pl_status readWordCallback( pl_smbus *smbus, unsigned char command,
                                       unsigned short *value );
    static pl_status writeWordCallback( pl_smbus *smbus, unsigned char command,
                                        unsigned short value );
    static pl_status blockReadCallback( pl_smbus *smbus, unsigned char command, unsigned char *data,
                                        unsigned int *length );
    static pl_status blockWriteCallback( pl_smbus *smbus, unsigned char command,
                                         const unsigned char *data, unsigned int length );
    static pl_status i2cBlockReadCallback( pl_smbus *smbus, unsigned char command,
                                           unsigned char *data, unsigned int length );
    static pl_status i2cBlockWriteCallback( pl_smbus *smbus, unsigned char command,
                                            const unsigned char *data, unsigned int length );
    static pl_status processCallCallback( pl_smbus *smbus, unsigned char command,
                                          unsigned short value, unsigned short *reply );
    static pl_status blockProcessCallCallback( pl_smbus *smbus, unsigned char command,
                                               const unsigned char *data, unsigned char length,
                                               unsigned char *reply, unsigned char *replyLength );
    static const pl_smbus_ops ops_;

  protected:
    ~SmbusProxy() = default;

  private:
    pl_smbus record_;
};

} // namespace Component::LogicalDevice
