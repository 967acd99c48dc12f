/**
 * @file
 * The commands of orvan: what they are called on the command line, and what they do.
 */
#pragma once

#include <istream>
#include <memory>
#include <ostream>
#include <vector>

#include <CLI/CLI.hpp>

#include "orvan/base/Errors.h"
#include "orvan/host/Session.h"

namespace orvan {

/** Where commands read and write. */
struct Streams {
    std::istream &in;    ///< the lines that `shell` runs
    std::ostream &out;   ///< what was asked for
    std::ostream &error; ///< what went wrong, traces, progress
};

/** One command: its place on the command line, and its work. Its options' values are members of it. */
class Command {
  public:
    virtual ~Command() = default;
    /**
     * Adds the command's subcommand to @p app, which owns it, and returns it. Parsing writes into this
     * object, which must outlive @p app.
     */
    virtual CLI::App *define( CLI::App &app ) = 0;
    /**
     * Carries it out, after parsing.
     * @return Ok, or Failed when the board answered but not as wanted
     * Throws BadInput for words that do not fit the board, Failure when the library fails.
     */
    virtual ExitCode run( Session &session, const Streams &streams ) = 0;
};

/** Commands, owned, in the order in which help lists them. */
using Commands = std::vector<std::unique_ptr<Command>>;

/** All commands that work on a board, except `shell`. */
Commands boardCommands();
/** `shell`: runs board commands from Streams::in, one a line, all on the same board. */
std::unique_ptr<Command> shellCommand();

/** `show`: tables, or JSON, of peripherals with their readings. */
std::unique_ptr<Command> showCommand();
/** `get`: the readings of one peripheral. */
std::unique_ptr<Command> getCommand();
/** `set`: sets a line, a light, a fan's speed or a cage's line. */
std::unique_ptr<Command> setCommand();
/** `expect`: reads one peripheral and fails unless it reads as said. */
std::unique_ptr<Command> expectCommand();
/** `wait`: lets the library's timers run for a while, or until a polled device has been polled. */
std::unique_ptr<Command> waitCommand();
/** `smbus`: one raw SMBus operation on a device, or a dump of its registers. */
std::unique_ptr<Command> smbusCommand();
/** `poweroff`: switches the board off. */
std::unique_ptr<Command> poweroffCommand();
/** `powercycle`: switches the board off and on again. */
std::unique_ptr<Command> powercycleCommand();

/** Defines @p commands on an application and finds the one that was given. */
class CommandLine {
  public:
    /** Adds the subcommands of @p commands to @p app. Both must outlive this object. */
    CommandLine( CLI::App &app, Commands &commands );
    /** After parsing: the command that was given, or null. */
    Command *chosen() const;

  private:
    std::vector<std::pair<CLI::App *, Command *>> defined_;
};

} // namespace orvan
