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
/** Stands for no operation; no batch is that long. */
constexpr ResponseId INVALID_RESPONSE_ID = 0xFFFFFFFF;

/**
 * The hardware access manager of one device.
 *
 * Traffic goes in batches: prepare(), any number of add operations, execute(), then get operations
 * with the ids that the adds returned, in any order and any number of times, until the next
 * prepare(). The one-shot operations below are batches of one. An operation that a back-end lacks
 * throws NotImplementedException with the operation's name.
 *
 * A Ham is never destroyed: it lives as long as the process, hence no virtual destructor. The order
 * of the virtual operations is fixed.
 */
class Ham {
  public:
    /** Gets ready for the first batch. Called once, right after a Ham was made for a device. */
    virtual void init() {}
    /** Starts a new batch: what was added before is forgotten. */
    virtual void prepare() = 0;
    /** Runs the batch. @return 0 on success, otherwise the back-end's status, a pl_status value */
    virtual int execute() = 0;

    /** Adds an SMBus Receive Byte; its result is one byte. */
    virtual ResponseId addRecvByte();
    /** Adds a read of one byte from @p reg. */
    virtual ResponseId addRead8( unsigned reg );
    /** Adds a read of a word from @p reg, low byte first on the wire. */
    virtual ResponseId addRead16( unsigned reg );
    /** Adds a read of four bytes from @p reg, low byte first on the wire. */
    virtual ResponseId addRead32( unsigned reg );
    /**
     * Adds a read of several bytes without a length on the wire.
     * @param reg   the first register
     * @param len   how many bytes
     * @param flag  travels with the request as it is
     */
    virtual ResponseId addRead( unsigned reg, unsigned len, bool flag );
    /** Adds an SMBus Block Read from @p reg; the device tells the length. */
    virtual ResponseId addReadBlock( unsigned reg );
    /**
     * Adds an SMBus Send Byte.
     * @param value  the byte
     * @param pec    whether to use SMBus packet error checking, here and below
     */
    virtual void addSendByte( uint8_t value, bool pec );
    /** Adds a write of one byte to @p reg. */
    virtual void addWrite8( unsigned reg, uint8_t value, bool pec );
    /** Adds a write of a word to @p reg, low byte first on the wire. */
    virtual void addWrite16( unsigned reg, uint16_t value, bool pec );
    /** Adds a write of four bytes to @p reg, low byte first on the wire. */
    virtual void addWrite32( unsigned reg, uint32_t value, bool pec );
    /** Adds a write of @p len bytes from @p data, which are copied, without a length on the wire. */
    virtual void addWrite( unsigned reg, const void *data, unsigned len, bool pec );
    /** Adds an SMBus Block Write: @p len goes before the bytes, which are copied. */
    virtual void addWriteBlock( unsigned reg, const void *data, unsigned len, bool pec );
    /** Adds an SMBus Process Call: writes @p value to @p reg, then reads a word. */
    virtual ResponseId addProcessCall( unsigned reg, uint16_t value );
    /** The byte that came for @p id, which must be of this batch; so must those below. */
    virtual uint8_t get8( ResponseId id );
    /** The word that came for @p id as a host integer. */
    virtual uint16_t get16( ResponseId id );
    /** The four bytes that came for @p id as a host integer. */
    virtual uint32_t get32( ResponseId id );
    /**
     * The bytes that came.
     * @param id   the read
     * @param len  how many were asked for; 0: as many as the block itself says
     */
    virtual std::string getBlock( ResponseId id, unsigned len );

    /**
     * Hands over the registers that the driver expects, for simulation; the base version only traces.
     * @param expected  not owned, must live as long as the Ham; null for none
     */
    virtual void setExpected( const Utils::ExpectedValues *expected );
    /**
     * Hands over the driver's key and the device's name, for simulation; the base version only traces.
     * @param driver  key of the table of drivers
     * @param label   the device's name; may be empty
     */
    virtual void setDriverName( const std::string &driver, const std::string &label );

    /*
     * One-shot operations. All return 0 or the status that execute() returned; after a failure the
     * output is as it was. The parameters are those of the add operations.
     */

    /** Receives a byte into @p out. */
    int recvByte( uint8_t *out );
    /** Reads a byte into @p out. */
    int read8( unsigned reg, uint8_t *out );
    /** Reads a word into @p out. */
    int read16( unsigned reg, uint16_t *out );
    /** Reads four bytes into @p out. */
    int read32( unsigned reg, uint32_t *out );
    /** Sends a byte. */
    int sendByte( uint8_t value, bool pec );
    /** Writes a byte. */
    int write8( unsigned reg, uint8_t value, bool pec );
    /** Writes a word. */
    int write16( unsigned reg, uint16_t value, bool pec );
    /** Writes four bytes. */
    int write32( unsigned reg, uint32_t value, bool pec );
    /** Writes @p len bytes. */
    int write( unsigned reg, const void *data, unsigned len, bool pec );
    /** Writes a block. */
    int writeBlock( unsigned reg, const void *data, unsigned len, bool pec );
    /** Exchanges a word for one, which goes into @p out. */
    int processCall( unsigned reg, uint16_t value, uint16_t *out );
    /** Reads @p len bytes into @p out, whose content they replace. */
    int read( unsigned reg, unsigned len, std::string *out, bool flag );
    /** Reads a block into @p out, whose content it replaces. */
    int readBlock( unsigned reg, std::string *out );

    /** From now on each request may be retried @p n times, instead of the transport's default. */
    void retryCountIs( unsigned n );

    /**
     * Makes a Ham and initialises it.
     * @param name      its kind, a key of the table of Hams (HamSelection.h)
     * @param topology  where the device is
     * @param args      describe the device
     * @return the Ham, which the caller keeps; null, after a trace, for an unknown kind or when the
     *         kind's factory fails
     */
    static Ham *create( const std::string &name, const Topology::Topology &topology,
                        const Drivers::DriverArgs &args );

  protected:
    uint32_t retryCount = 0; ///< retries for each request, once retrySet
    bool retrySet = false;   ///< whether retryCount holds, rather than the transport's default
};

/**
 * Makes the Ham of a device: of the kind that the device's medium in @p topology names, or "SimHam"
 * in simulation.
 * @param topology  where the device is
 * @param args      name the component or the device, and are handed to the kind's factory
 * @return the Ham, which the caller keeps, or null: the device is not in the topology, or its kind
 *         of Ham does not exist or could not be made
 */
Ham *createHam( const Topology::Topology &topology, const Drivers::DriverArgs &args );

/** The same in the current topology; aborts on "topology" when none is loaded. */
Ham *createHam( const Drivers::DriverArgs &args );

} // namespace Ham
