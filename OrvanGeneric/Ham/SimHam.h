#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/Ham/SimFile.h"

namespace Ham {

/**
 * A device without hardware: its registers live in a text file that a test harness can read and
 * change while the library runs.
 *
 * The file is named after the driver and the device, in the folder "ORVANLIB_SIMDIR" (default
 * /tmp/OrvanSimulationDevices). It holds the driver's expected registers in ascending order without
 * separators, numeric ones as two lower-case hexadecimal digits for each byte, text ones as they
 * are, and ends with a newline. It is made anew when the driver hands over a non-empty table;
 * a driver with none has no file: its reads yield 0, its writes do nothing, both with a warning. A file
 * that somebody removed is made again; one that cannot be used (see SimFile) is traced at level 0, its
 * reads yield 0 and its writes are lost.
 */
class SimHam : public Ham {
  public:
    /** A Ham without a file yet; the arguments are not looked at. */
    static Ham *create( const Topology::Topology &topology, const Drivers::DriverArgs &args );

    void init() override {}
    void prepare() override {}
    /** 0, or 4 when the last register added is not among the expected ones. */
    int execute() override;
    ResponseId addRecvByte() override { return 0; }
    ResponseId addRead8( unsigned reg ) override;
    ResponseId addRead16( unsigned reg ) override;
    ResponseId addRead( unsigned reg, unsigned len, bool flag ) override;
    ResponseId addReadBlock( unsigned reg ) override;
    void addSendByte( uint8_t, bool ) override {}
    void addWrite8( unsigned reg, uint8_t value, bool pec ) override;
    void addWrite16( unsigned reg, uint16_t value, bool pec ) override;
    void addWrite( unsigned reg, const void *data, unsigned len, bool pec ) override;
    /** Writes a text register of exactly @p len characters; leaves others alone. */
    void addWriteBlock( unsigned reg, const void *data, unsigned len, bool pec ) override;
    uint8_t get8( ResponseId id ) override;
    uint16_t get16( ResponseId id ) override;
    /** @p len characters of the file from the register on; 0: as many as the register has. */
    std::string getBlock( ResponseId id, unsigned len ) override;
    void setExpected( const Utils::ExpectedValues *expected ) override;
    void setDriverName( const std::string &driver, const std::string &label ) override;

    /** Path of the device's file; empty before setDriverName. */
    const std::string &simFileName() const { return simFileName_; }
    /** Whether the device has a file. */
    bool simFileExists() const { return simFileExists_; }
    /** Where each register begins in the file, in characters. */
    const std::map<unsigned, size_t> &offsets() const { return offsets_; }

    /** Remembers the register of the operation being performed. */
    void saveReg( unsigned reg ) { savedReg_ = reg; }
    /** Whether that register is among the expected ones. */
    bool isAddrSimulated() const;
    /** Writes the file whole from the expected registers. */
    void createSimFile();
    /** Writes @p value at the register's place, under an exclusive lock. */
    void writeToFile( const std::string &value );
    /** Reads @p size characters from the register's place, under a shared lock. */
    std::string readFromFile( size_t size );

  private:
    ResponseId add( unsigned reg );
    /** Makes the register of @p id the current one and tells whether it can be read. */
    bool select( ResponseId id );
    bool canAccess();
    unsigned readHex( ResponseId id, size_t digits );
    void writeNumber( unsigned reg, unsigned value, unsigned size );
    /** The file, made again where it is missing; null, with a trace, when it cannot be used. */
    std::unique_ptr<SimFile> openFile( SimFile::Access access );

    std::string driverName_;
    std::string label_;
    std::string simFileName_;
    bool simFileExists_ = false;
    const Utils::ExpectedValues *expected_ = nullptr;
    std::map<unsigned, size_t> offsets_;
    size_t fileSize_ = 0;
    unsigned savedReg_ = 0;
    /** The registers of the current batch, by response id. */
    std::vector<unsigned> batch_;
    /** prepare() does nothing, so the first add after an execute() begins the next batch. */
    bool executed_ = false;
};

} // namespace Ham
