#pragma once

#include <string>

namespace Ham {

/**
 * A simulation file held open and locked for one access; closing it releases the lock.
 *
 * The folder is one that others may write to. So a link is not followed, what is no regular file is
 * left alone, and a lock that another process keeps is waited for no longer than a second: the host's
 * event thread must not hang, and nobody's file may be overwritten.
 */
class SimFile {
  public:
    /** What is to be done with the file. */
    enum class Access {
        Read,   ///< under a shared lock
        Write,  ///< under an exclusive lock
        Create, ///< as Write; the file is made where there is none
    };

    /** Opens and locks @p path; ask usable() how it went. */
    SimFile( const std::string &path, Access access );
    ~SimFile();
    SimFile( const SimFile & ) = delete;
    SimFile &operator=( const SimFile & ) = delete;

    /** Whether the file is open, regular and locked. */
    bool usable() const { return problem_.empty(); }
    /** Whether there is no file of that name. */
    bool missing() const { return missing_; }
    /** Why the file is not usable, for a trace; empty when it is. */
    const std::string &problem() const { return problem_; }
    /** The descriptor, owned by this object; to be used only while usable(). */
    int fd() const { return fd_; }

  private:
    void lock( short type );

    int fd_;
    bool missing_ = false;
    std::string problem_;
};

} // namespace Ham
