#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "OrvanGeneric/Ham/Ham.h"

/**
 * A Ham that keeps what a driver asks of it, word for word, and answers from scripted registers.
 *
 * The log holds one entry for each call: "prepare", "execute", "recvByte", "read8 0x20",
 * "read16 0x8b", "read 0x9a 11", "readBlock 0x9a", "sendByte 0x03", "write8 0x06 0xff",
 * "write16 0x3b 0x0064", "write 0x10 0a0b", "writeBlock 0x10 0a0b", "processCall 0x05 0x1234";
 * " pec" or " flag" after those that ask for it.
 */
class ScriptedHam : public Ham::Ham {
  public:
    /** What byte, word and block reads of a register bring; unset ones bring 0, 0 and "". */
    std::map<unsigned, uint8_t> bytes;
    std::map<unsigned, uint16_t> words;
    std::map<unsigned, std::string> blocks;
    uint8_t receivedByte = 0;
    /** What the next execute() calls return; 0 when none is left. A failing one writes nothing. */
    std::deque<int> statuses;

    std::vector<std::string> log;
    std::string driverName;
    std::string label;
    const Utils::ExpectedValues *expected = nullptr;
    bool initialised = false;

    /** The log, forgotten by the asking. */
    std::vector<std::string> takeLog();
    using ::Ham::Ham::retryCount;
    using ::Ham::Ham::retrySet;

    void init() override { initialised = true; }
    void prepare() override;
    int execute() override;
    ::Ham::ResponseId addRecvByte() override;
    ::Ham::ResponseId addRead8( unsigned reg ) override;
    ::Ham::ResponseId addRead16( unsigned reg ) override;
    ::Ham::ResponseId addRead( unsigned reg, unsigned len, bool flag ) override;
    ::Ham::ResponseId addReadBlock( unsigned reg ) override;
    void addSendByte( uint8_t value, bool pec ) override;
    void addWrite8( unsigned reg, uint8_t value, bool pec ) override;
    void addWrite16( unsigned reg, uint16_t value, bool pec ) override;
    void addWrite( unsigned reg, const void *data, unsigned len, bool pec ) override;
    void addWriteBlock( unsigned reg, const void *data, unsigned len, bool pec ) override;
    ::Ham::ResponseId addProcessCall( unsigned reg, uint16_t value ) override;
    uint8_t get8( ::Ham::ResponseId id ) override;
    uint16_t get16( ::Ham::ResponseId id ) override;
    std::string getBlock( ::Ham::ResponseId id, unsigned len ) override;
    void setExpected( const Utils::ExpectedValues *values ) override { expected = values; }
    void setDriverName( const std::string &driver, const std::string &name ) override {
        driverName = driver;
        label = name;
    }

  private:
    struct Operation {
        enum { Receive, Register, Write8, Write16 } kind;
        unsigned reg;
        unsigned value;
    };
    ::Ham::ResponseId add( Operation operation, const std::string &text );
    const Operation &operation( ::Ham::ResponseId id ) const;

    std::vector<Operation> batch_;
};
