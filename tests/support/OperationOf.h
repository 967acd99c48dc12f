#pragma once

#include <string_view>

#include "smbusd/bus/Operation.h"

namespace test {

/** An operation at 0x58. */
inline smbusd::Operation operationOf( smbusd::Operation::Kind kind, uint32_t reg,
                                      std::string_view data = {} ) {
    smbusd::Operation operation;
    operation.kind = kind;
    operation.address = 0x58;
    operation.reg = reg;
    operation.data = data;
    operation.length = static_cast<uint32_t>( data.size() );
    return operation;
}

/** One that reads so many bytes. */
inline smbusd::Operation readOf( smbusd::Operation::Kind kind, uint32_t reg, uint32_t length ) {
    smbusd::Operation operation = operationOf( kind, reg );
    operation.length = length;
    return operation;
}

/** The same with a packet error code. */
inline smbusd::Operation withPec( smbusd::Operation operation ) {
    operation.pec = true;
    return operation;
}

} // namespace test
