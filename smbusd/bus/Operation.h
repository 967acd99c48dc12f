#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <smbus.pb.h>

namespace smbusd {

/** What names a bus: requests carry these four, the configuration maps them. */
struct BusKey {
    Smbus::MasterType master = Smbus::SIMULATED; ///< the kind of controller
    uint32_t pci = 0;        ///< address of the controller; 0 unless the master is an SCD
    uint8_t accelerator = 0; ///< of the controller, 7 bits
    uint8_t bus = 0;         ///< of the accelerator, 7 bits

    /** Any order will do: keys are looked up in a map. */
    auto operator<=>( const BusKey & ) const = default;
};

/** @return for example "SCD 0x00000300 accelerator 1 bus 2". */
std::string describe( const BusKey &key );

/** One SMBus operation, taken from a request and checked. */
struct Operation {
    /** The SMBus protocol, or the I2C block that is common besides. */
    enum class Kind {
        ReceiveByte,   ///< a byte from the device, without a register
        ReadByte,      ///< the register, then a byte back
        ReadWord,      ///< the register, then two bytes back, the low one first
        I2cBlockRead,  ///< the register, then as many bytes back as are asked for
        SendByte,      ///< a byte to the device, without a register
        WriteByte,     ///< the register and a byte
        WriteWord,     ///< the register and two bytes, the low one first
        I2cBlockWrite, ///< the register and as many bytes as there are
        ProcessCall,   ///< the register and a word, then a word back
        BlockRead,     ///< the register, then a count and that many bytes back
        BlockWrite,    ///< the register, a count and that many bytes
    };

    Kind kind = Kind::ReceiveByte; ///< decides which of the others count
    uint8_t address = 0;           ///< 7 bits
    uint32_t reg = 0;              ///< register or command; for a send byte, the byte
    unsigned registerSize = 1;     ///< bytes of the register on the wire, high byte first: 1 to 3
    uint32_t length = 0;           ///< bytes of data to read or write
    std::string_view data;         ///< what is written; points into the request
    bool pec = false;              ///< whether a packet error code is asked for

    /** Whether data comes back. */
    bool reads() const;
    /** Whether a packet error code goes along: asked for, and not an I2C block, which has none. */
    bool usesPec() const {
        return pec && kind != Kind::I2cBlockRead && kind != Kind::I2cBlockWrite;
    }
    /** Whether a register or command byte goes out before the data. */
    bool hasRegister() const { return kind != Kind::ReceiveByte && kind != Kind::SendByte; }
};

/** Most bytes that one I2C block operation moves; the kernel's limit for one message. */
inline constexpr uint32_t maxI2cBlock = 8192;
/** Most bytes of an SMBus block. */
inline constexpr uint32_t maxSmbusBlock = 32;

/** @return what a request says of its bus, whether there is such a bus or not */
BusKey busKeyOf( const Smbus::Request &request );

/**
 * Takes a request apart.
 *
 * @param operation  receives the operation; its data refers to the request
 * @return empty on success, otherwise what is wrong with the request
 */
std::string parseOperation( const Smbus::Request &request, Operation &operation );

/** @return for example "read word" */
std::string_view kindName( Operation::Kind kind );

/** @return for example "read word at register 0x8B of 0x58". */
std::string describe( const Operation &operation );

} // namespace smbusd
