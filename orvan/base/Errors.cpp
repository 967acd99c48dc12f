#include "orvan/base/Errors.h"

#include <cstdlib>
#include <cxxabi.h>
#include <exception>
#include <memory>
#include <typeinfo>

namespace orvan {

std::string describeCurrentException() {
    const std::type_info *type = abi::__cxa_current_exception_type();
    if ( !type ) {
        return "an exception of unknown type";
    }
    int status = 0;
    std::unique_ptr<char, decltype( &std::free )> name(
        abi::__cxa_demangle( type->name(), nullptr, nullptr, &status ), &std::free );
    std::string text = status == 0 ? name.get() : type->name();
    try {
        throw;
    } catch ( const std::exception &e ) {
        text += ": ";
        text += e.what();
    } catch ( ... ) {
    }
    return text;
}

} // namespace orvan
