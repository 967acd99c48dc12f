#pragma once

#include <pl/pl.h>

namespace PlatformLibrary {
class PLSocket;
}

/**
 * The one connection to the SMBus service, shared by every Ham of the process. Null until the first
 * successful plSockInit; set up once and kept until the process ends.
 */
extern PlatformLibrary::PLSocket *_plSock;

/**
 * Opens the connection to the SMBus service unless it is open.
 * @param name     the caller's, for traces
 * @param retries  attempts, one second apart; 0 or less: none
 * @return 0, or 4 when no attempt succeeded
 */
int plSockInit( const char *name, int retries );

/**
 * What every pl_<kind>_init does: opens the SMBus service, then loads the topology.
 * @param name     the caller's, for traces
 * @param json     the topology text
 * @param retries  attempts to reach the service
 * @return 0, otherwise the status of the first step that failed
 */
int orvanLibraryInit( const char *name, const char *json, int retries );
