#pragma once

#include <string>

namespace common {

/** Owns a file descriptor and closes it at the end of its life. */
class Descriptor {
  public:
    /** Owns none. */
    Descriptor() = default;
    /** Takes @p number over; a negative number is none. */
    explicit Descriptor( int number ) noexcept : number_( number ) {}
    Descriptor( Descriptor &&other ) noexcept : number_( other.release() ) {} ///< takes it over
    Descriptor &operator=( Descriptor &&other ) noexcept; ///< takes it over and closes its own
    ~Descriptor() { close(); }

    /** The descriptor, still owned by this object; -1 when there is none. */
    int get() const { return number_; }
    /** Whether there is one. */
    explicit operator bool() const { return number_ >= 0; }
    /** Hands the descriptor over to the caller, who closes it; -1 when there is none. */
    int release() noexcept;
    /** Closes it, if there is one. Leaves errno alone. */
    void close() noexcept;

  private:
    int number_ = -1;
};

/** The two ends of a pipe. */
struct Pipe {
    Descriptor readEnd;  ///< where the bytes come out
    Descriptor writeEnd; ///< where they go in; at its closing the reader meets the end
};

/** A new pipe whose ends do not outlive an exec. Throws std::system_error. */
Pipe makePipe();

/** All bytes up to the end of @p descriptor's stream. Throws std::system_error. */
std::string readAll( const Descriptor &descriptor );

} // namespace common
