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
    std::istream &in;
    std::ostream &out;
    std::ostream &error;
};

/** One command. Its options live as long as it does. */
class Command {
  public:
    virtual ~Command() = default;
    /** Adds the command's subcommand to @p app and returns it. */
    virtual CLI::App *define( CLI::App &app ) = 0;
    /** Carries it out. Throws BadInput and Failure as their descriptions say. */
    virtual ExitCode run( Session &session, const Streams &streams ) = 0;
};

using Commands = std::vector<std::unique_ptr<Command>>;

/** The commands that work on a board, `shell` apart. */
Commands boardCommands();
/** `shell`: board commands from standard input, one a line, on one and the same board. */
std::unique_ptr<Command> shellCommand();

std::unique_ptr<Command> showCommand();
std::unique_ptr<Command> getCommand();
std::unique_ptr<Command> setCommand();
std::unique_ptr<Command> expectCommand();
std::unique_ptr<Command> waitCommand();
std::unique_ptr<Command> smbusCommand();
std::unique_ptr<Command> poweroffCommand();
std::unique_ptr<Command> powercycleCommand();

/** Defines @p commands on an application and finds the one that was given. */
class CommandLine {
  public:
    CommandLine( CLI::App &app, Commands &commands );
    /** After parsing: the command that was given, or null. */
    Command *chosen() const;

  private:
    std::vector<std::pair<CLI::App *, Command *>> defined_;
};

} // namespace orvan
