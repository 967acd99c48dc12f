#pragma once

#include <exception>
#include <string>

namespace Component {

/**
 * Thrown by an operation that a driver or a Ham does not offer.
 *
 * No add function, callback or driver of the library catches it: it reaches the host's call.
 */
class NotImplementedException : public std::exception {
  public:
    /** @param operation  name of the missing operation, for example "newFan" */
    explicit NotImplementedException( const std::string &operation )
        : text_( "Not implemented " + operation ) {}

    /** "Not implemented " and the operation's name. */
    const char *what() const noexcept override { return text_.c_str(); }

  private:
    std::string text_;
};

} // namespace Component
