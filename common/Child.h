#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace common {

/** How a child process came to its end. */
struct ChildEnd {
    int exitCode = -1; ///< what it returned; -1 when a signal ended it
    int signal = 0;    ///< the signal that ended it; 0 when it ended by itself

    /** Whether it ended by itself, with 0. */
    bool good() const { return exitCode == 0; }
    /** In words: "ended with 3", "was ended by signal 9". */
    std::string text() const;
};

/** What a child process starts with; all else it has from this one. */
struct ChildOptions {
    /** Descriptors that it gets: their numbers there, and here. All others marked so close on exec. */
    std::vector<std::pair<int, int>> descriptors;
    /** "NAME=value" each: variables that it has besides, or instead of, those of this process. */
    std::vector<std::string> environment;
    /** Where it starts; empty: where this process is. */
    std::string folder;
    /**
     * The signal that the kernel sends it when the thread that starts it ends, however that happens;
     * 0: none.
     */
    int signalAtParentsEnd = 0;
    /** Whether it leads a process group of its own, which a terminal's Ctrl-C does not reach. */
    bool ownGroup = false;
    /** How long its end may take from SIGTERM on; after that it is killed. */
    std::chrono::milliseconds endLimit{ 2000 };
};

/**
 * A program that runs as a child of this process, ended with the object. It starts with no signal
 * blocked and, except for those that are ignored, with all signals' default actions.
 */
class Child {
  public:
    /** None. */
    Child() = default;
    /**
     * Starts a program and returns once it runs.
     * @param words  the program, looked for in PATH when it holds no "/", and its arguments
     * Throws std::system_error, "cannot start PROGRAM", when it cannot be executed.
     */
    explicit Child( const std::vector<std::string> &words, const ChildOptions &options = {} );
    Child( Child &&other ) noexcept; ///< takes over the process; @p other has none afterwards
    Child &operator=( Child &&other ) noexcept; ///< likewise, after it has ended its own
    /** Ends it, if it is still there, as end() does. */
    ~Child();

    /** Its process id; -1 once its end has been collected. */
    pid_t pid() const { return pid_; }
    /** Whether it has not ended yet; its end is collected by this. */
    bool runs();
    /** Sends it @p signal. */
    void signal( int signal ) const;
    /** Waits for its end and collects it. There must be a child. */
    ChildEnd wait();
    /** Ends it with SIGTERM, after the limit with SIGKILL, and collects its end. */
    ChildEnd end();

  private:
    pid_t pid_ = -1;
    std::chrono::milliseconds endLimit_{};
};

/**
 * Ends the child process @p pid with SIGTERM and, if it is still there after @p limit, with SIGKILL;
 * collects its end. Calls async-signal-safe functions only: a signal handler may use it.
 */
ChildEnd endProcess( pid_t pid, std::chrono::milliseconds limit ) noexcept;

} // namespace common
