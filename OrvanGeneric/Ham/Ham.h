#pragma once

#include <cstdint>
#include <string>

#include "OrvanGeneric/Utils.h"

namespace Drivers {
struct DriverArgs;
}
namespace Topology {
struct Topology;
}

/** Hardware access: how drivers reach their chips. */
namespace Ham {

/** Names one operation of the current batch: 0, 1, 2, ... in the order of the add operations. */
using ResponseId = uint32_t;
constexpr ResponseId INVALID_RESPONSE_ID = 0xFFFFFFFF;

/**
 * The hardware access manager of one device.
 *
 * Traffic goes in batches: prepare(), any number of add operations, execute(), then get operations
 * with the ids that the adds returned, in any order and as often as wanted, until the next
 * prepare(). The one-shot operations below are batches of one. An operation that a back-end lacks
 * throws NotImplementedException with the operation's name.
 *
 * A Ham is never destroyed: it lives as long as the process, hence no virtual destructor. The order
 * of the virtual operations is fixed.
 */
class Ham {
  public:
    /** Called once, right after a Ham was made for a device. */
    virtual void init() {}
    /** Starts a new batch. */
    virtual void prepare() = 0;
    /** Runs the batch. @return 0 on success, otherwise the back-end's status */
    virtual int execute() = 0;

    virtual ResponseId addRecvByte();
    virtual ResponseId addRead8( unsigned reg );
    /** A word, low byte first on the wire. */
    virtual ResponseId addRead16( unsigned reg );
    virtual ResponseId addRead32( unsigned reg );
    /** @p len bytes from @p reg on. @p flag travels with the request. */
    virtual ResponseId addRead( unsigned reg, unsigned len, bool flag );
    /** An SMBus block; the device tells its length. */
    virtual ResponseId addReadBlock( unsigned reg );
    /** @p pec asks for SMBus packet error checking, here and below. */
    virtual void addSendByte( uint8_t value, bool pec );
    virtual void addWrite8( unsigned reg, uint8_t value, bool pec );
    /** A word, low byte first on the wire. */
    virtual void addWrite16( unsigned reg, uint16_t value, bool pec );
    virtual void addWrite32( unsigned reg, uint32_t value, bool pec );
    virtual void addWrite( unsigned reg, const void *data, unsigned len, bool pec );
    /** An SMBus block: its length goes before the bytes. */
    virtual void addWriteBlock( unsigned reg, const void *data, unsigned len, bool pec );
    virtual ResponseId addProcessCall( unsigned reg, uint16_t value );
    virtual uint8_t get8( ResponseId id );
    virtual uint16_t get16( ResponseId id );
    virtual uint32_t get32( ResponseId id );
    /** The bytes that came. @p len 0: as many as the block itself says. */
    virtual std::string getBlock( ResponseId id, unsigned len );

    /** Hands over the registers that the driver expects; not owned. */
    virtual void setExpected( const Utils::ExpectedValues *expected );
    /** Hands over the driver's key and the device's name, which may be empty. */
    virtual void setDriverName( const std::string &driver, const std::string &label );

    /*
     * One-shot operations. All return 0 or the status that execute() returned; after a failure the
     * output is as it was.
     */
    int recvByte( uint8_t *out );
    int read8( unsigned reg, uint8_t *out );
    int read16( unsigned reg, uint16_t *out );
    int read32( unsigned reg, uint32_t *out );
    int sendByte( uint8_t value, bool pec );
    int write8( unsigned reg, uint8_t value, bool pec );
    int write16( unsigned reg, uint16_t value, bool pec );
    int write32( unsigned reg, uint32_t value, bool pec );
    int write( unsigned reg, const void *data, unsigned len, bool pec );
    int writeBlock( unsigned reg, const void *data, unsigned len, bool pec );
    int processCall( unsigned reg, uint16_t value, uint16_t *out );
    int read( unsigned reg, unsigned len, std::string *out, bool flag );
    int readBlock( unsigned reg, std::string *out );

    /** From now on each request may be retried @p n times, instead of the transport's default. */
    void retryCountIs( unsigned n );

    /** Makes a Ham of the kind @p name for the device that @p args describe; null on failure. */
    static Ham *create( const std::string &name, const Topology::Topology &topology,
                        const Drivers::DriverArgs &args );

  protected:
    uint32_t retryCount = 0;
    bool retrySet = false;
};

/**
 * Makes the Ham of a device: of the kind that the device's medium in @p topology names, or "SimHam"
 * in simulation.
 * @param args  name the component or the device, and are handed to the kind's factory
 * @return the Ham, which the caller keeps, or null: the device is not in the topology, or its kind
 *         of Ham does not exist or could not be made
 */
Ham *createHam( const Topology::Topology &topology, const Drivers::DriverArgs &args );

/** The same in the current topology; aborts on "topology" when none is loaded. */
Ham *createHam( const Drivers::DriverArgs &args );

} // namespace Ham
