#pragma once

#include <optional>
#include <vector>

#include <smbus.pb.h>

#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/HamAddress.h"

namespace Component::LogicalDevice {
class Mux;
}
namespace Topology {
struct Bus;
}

namespace Ham {

/** PCI address of the SMBus controller that leads to a device; none where there is none. */
using PCIAddress = std::optional<uint32_t>;

/**
 * SMBus through the platform's socket service: a batch becomes one Smbus::TransactionRequest.
 *
 * Every batch begins with the requests that open the muxes on the way to the device, root side
 * first, and ends with the requests that close them, in reverse. All Hams share the process's one
 * connection (_plSock). After warm-up a batch allocates nothing.
 */
class OrvanSmbusHam : public Ham {
  public:
    /** Makes the Ham of the device that @p args describe; null when it is not in @p topology. */
    static Ham *create( const Topology::Topology &topology, const Drivers::DriverArgs &args );
    /**
     * Makes a Ham for a bare address on a bus. The walk is not stopped at the bus, so buses,
     * accelerators and media that come after it in the walk leave their own numbers in the path. The
     * caller runs init() before use.
     * @param topology  is walked
     * @param bus       must be in @p topology
     * @param address   7-bit device address
     * @return null when the bus is not in the topology
     */
    static OrvanSmbusHam *createOnBus( const Topology::Topology &topology, const Topology::Bus *bus,
                                       uint8_t address );
    /**
     * Makes a Ham for a bare address, without muxes.
     * @param address  whole, bus and accelerator included
     * @param pci      of the controller, where there is one; otherwise the accelerator must be 0, or
     *                 it aborts
     */
    static OrvanSmbusHam *createFromAddress( const Topology::HamAddress &address,
                                             const PCIAddress &pci );

    /** A Ham for @p hamAddress with the master type SIMULATED and no muxes. */
    explicit OrvanSmbusHam( const Topology::HamAddress &hamAddress ) : address( hamAddress ) {}

    /** Builds the requests that open the muxes, with which every batch begins. */
    void init() override;
    void prepare() override;
    /**
     * @return 0; 4: the service could not be reached or did not answer; 6: it reported a failure,
     *         or answered another number of requests than were sent
     */
    int execute() override;
    ResponseId addRecvByte() override;
    ResponseId addRead8( unsigned reg ) override;
    ResponseId addRead16( unsigned reg ) override;
    ResponseId addRead( unsigned reg, unsigned len, bool flag ) override;
    ResponseId addReadBlock( unsigned reg ) override;
    void addSendByte( uint8_t value, bool pec ) override;
    void addWrite8( unsigned reg, uint8_t value, bool pec ) override;
    void addWrite16( unsigned reg, uint16_t value, bool pec ) override;
    void addWrite( unsigned reg, const void *data, unsigned len, bool pec ) override;
    void addWriteBlock( unsigned reg, const void *data, unsigned len, bool pec ) override;
    ResponseId addProcessCall( unsigned reg, uint16_t value ) override;
    /** Aborts unless exactly one byte came for @p id. */
    uint8_t get8( ResponseId id ) override;
    /** Aborts unless exactly two bytes came for @p id; the first is the low one. */
    uint16_t get16( ResponseId id ) override;
    std::string getBlock( ResponseId id, unsigned len ) override;

    /** Sets the device address, of which 7 bits count. */
    virtual void setAddress( uint8_t deviceAddress );
    /** The 7-bit device address. */
    virtual uint8_t getAddress();
    /** Sets the bus number, of which 7 bits count. */
    virtual void setBus( uint8_t bus );
    /** The bus number, 7 bits. */
    virtual uint8_t getBus();

    /** What every request of this Ham carries, muxes left out. */
    const Topology::HamAddress &hamAddress() const { return address; }
    /** PCI address of the controller; 0 where there is none. */
    uint32_t pciAddress() const { return pci; }
    /** What kind of controller the service is to use. */
    Smbus::MasterType master() const { return masterType; }
    /** The muxes on the way to the device, root side first; not owned by the caller. */
    const std::vector<Component::LogicalDevice::Mux *> &muxPath() const { return muxes; }

  private:
    friend class OrvanSmbusVisitor;

    Smbus::Request *requestInit( unsigned reg, int type, unsigned len, bool pec, bool flag );
    const std::string &responseData( ResponseId id ) const;
    uint8_t muxAddress( const Component::LogicalDevice::Mux *mux ) const;

    int32_t prepareRequestCount = 0;
    int32_t nextResponseId = -1;
    Topology::HamAddress address;
    uint32_t pci = 0;
    Smbus::TransactionRequest request;
    Smbus::TransactionResponse response;
    Smbus::MasterType masterType = Smbus::SIMULATED;
    std::vector<Component::LogicalDevice::Mux *> muxes;
    /** Where the socket puts the next reply; swapped with response, so that both stay allocated. */
    Smbus::TransactionResponse reply;
};

} // namespace Ham
