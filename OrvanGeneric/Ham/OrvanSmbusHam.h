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

/** PCI address of an SMBus controller, where the device is behind one. */
using PCIAddress = std::optional<uint32_t>;

/**
 * SMBus through the platform's socket service: a batch becomes one Smbus::TransactionRequest.
 *
 * In front of every batch stand the requests that open the muxes on the way to the device, root
 * side first; behind it go the requests that close them, in reverse. All Hams share the process's
 * one connection (_plSock).
 */
class OrvanSmbusHam : public Ham {
  public:
    /** The Ham of the device that @p args describe; null when it is not in the topology. */
    static Ham *create( const Topology::Topology &topology, const Drivers::DriverArgs &args );
    /**
     * A Ham for the 7-bit @p address on @p bus; null when the bus is not in the topology. The walk
     * is not stopped at the bus, so buses, accelerators and media that come behind it in the walk
     * leave their own numbers in the path. The caller runs init() before use.
     */
    static OrvanSmbusHam *createOnBus( const Topology::Topology &topology, const Topology::Bus *bus,
                                       uint8_t address );
    /** A Ham for a bare address. Without a PCI address its accelerator must be 0. */
    static OrvanSmbusHam *createFromAddress( const Topology::HamAddress &address,
                                             const PCIAddress &pci );

    explicit OrvanSmbusHam( const Topology::HamAddress &hamAddress ) : address( hamAddress ) {}

    /** Builds the mux-select head that every batch begins with. */
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

    /** Sets and gives the 7-bit device address. */
    virtual void setAddress( uint8_t deviceAddress );
    virtual uint8_t getAddress();
    /** Sets and gives the bus number, 7 bits. */
    virtual void setBus( uint8_t bus );
    virtual uint8_t getBus();

    /** What every request of this Ham carries, muxes left out. */
    const Topology::HamAddress &hamAddress() const { return address; }
    uint32_t pciAddress() const { return pci; }
    Smbus::MasterType master() const { return masterType; }
    /** The muxes on the way to the device, root side first. */
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
