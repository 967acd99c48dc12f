#pragma once

#include <string>
#include <string_view>

namespace common {

/** A folder that only this user can enter, removed with all that is in it at the end of its life. */
class TemporaryFolder {
  public:
    /**
     * Makes one in $TMPDIR or, without that, in /tmp.
     * @param name  how its name begins; a "-" and random characters follow
     * Throws std::system_error, "cannot make a folder PATH".
     */
    explicit TemporaryFolder( std::string_view name = "orvan" );
    ~TemporaryFolder();
    TemporaryFolder( const TemporaryFolder & ) = delete;
    TemporaryFolder &operator=( const TemporaryFolder & ) = delete;

    /** Where it is, without a "/" at the end. */
    const std::string &path() const { return path_; }
    /** The path of @p name in it, which need not exist. */
    std::string file( std::string_view name ) const;
    /**
     * Makes the file @p name in it, or replaces what was there.
     * @return its path. Throws std::system_error.
     */
    std::string write( std::string_view name, std::string_view content ) const;

  private:
    std::string path_;
};

/** The content of the file @p path, byte for byte. Throws std::system_error, "cannot read PATH". */
std::string readFile( const std::string &path );

} // namespace common
