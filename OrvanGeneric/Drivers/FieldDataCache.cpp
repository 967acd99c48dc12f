#include "OrvanGeneric/Drivers/FieldDataCache.h"

#include <cstring>

#include "OrvanGeneric/HostServices.h"

namespace Drivers {

void FieldDataCache::keep( const char *text ) {
    // The old text goes first: two long ones need not fit into memory together.
    forget();
    text_.reset( strdup( text ) );
}

pl_status FieldDataCache::copyKept( char **fdl ) const {
    return copy( text_.get(), fdl );
}

pl_status FieldDataCache::copy( const char *text, char **fdl ) const {
    char *copied = text ? strdup( text ) : nullptr;
    if ( !copied ) {
        if ( noMemoryTrace_ ) {
            TRACE( 0, "%s", noMemoryTrace_ );
        }
        return PL_STATUS_FAILED;
    }
    *fdl = copied;
    return PL_STATUS_OK;
}

} // namespace Drivers
