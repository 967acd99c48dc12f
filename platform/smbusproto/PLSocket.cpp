#include "PLSocket.h"

namespace PlatformLibrary {
PLSocket::PLSocket() = default;
PLSocket::~PLSocket() = default;
int PLSocket::setup() { return -1; }
int PLSocket::sendRequestWait( const Smbus::TransactionRequest *, Smbus::TransactionResponse * ) {
    return -1;
}
} // namespace PlatformLibrary
