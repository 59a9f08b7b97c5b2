// What a command of fwboot is made of, and what all of them share. A new command is a file with its Declare
// routine, a line in Commands.h and a row in Commands.cpp.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

#include "tools/session/DriverSession.h"

// Exit codes of the program.
constexpr int mExitFine = 0;
constexpr int mExitCheckFailed = 1;
constexpr int mExitBadInput = 2;
constexpr int mExitHalted = 3;

// The options in front of every command.
struct GLOBAL_OPTIONS {
  std::string Image;
  bool Linked = false;
  // "native"; "ssse3", without the instructions for AES, SHA and random words; "plain", without SSSE3 as
  // well.
  std::string Processor = "native";

  // A boot of the driver that they choose.
  SessionOptions Session() const;
};

// Input that cannot be used, in one line: ends the program with mExitBadInput.
class InputError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// Runs a command whose options are parsed and returns the exit code. May throw InputError, and LoadError,
// BootError or VectorError as the libraries do.
using COMMAND_ACTION = std::function<int(const GLOBAL_OPTIONS &Options)>;

struct COMMAND {
  const char *Name;
  const char *Summary;
  // Adds the command's own options to App and returns what runs it.
  COMMAND_ACTION (*Declare)(CLI::App &App);
};

// A booted driver whose services are there. Throws BootError otherwise.
void RequireServices(DriverSession &Session);

// One line on the error stream, "fwboot: Text", without control characters.
void PrintError(const std::string &Text);
