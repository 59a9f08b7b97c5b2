// The commands of fwboot, each declared by a file of its own.
#pragma once

#include <span>

#include "tools/fwboot/Command.h"

// All of them, in the order in which --help lists them.
std::span<const COMMAND> AllCommands();

COMMAND_ACTION DeclareBoot(CLI::App &App);
COMMAND_ACTION DeclareScreen(CLI::App &App);
COMMAND_ACTION DeclareServices(CLI::App &App);
COMMAND_ACTION DeclareHash(CLI::App &App);
COMMAND_ACTION DeclareHmac(CLI::App &App);
COMMAND_ACTION DeclarePbkdf2(CLI::App &App);
COMMAND_ACTION DeclareBase64(CLI::App &App);
COMMAND_ACTION DeclareRandom(CLI::App &App);
COMMAND_ACTION DeclareVerify(CLI::App &App);
COMMAND_ACTION DeclareVerifyPkcs7(CLI::App &App);
COMMAND_ACTION DeclareCert(CLI::App &App);
COMMAND_ACTION DeclareKey(CLI::App &App);
COMMAND_ACTION DeclareVerifyData(CLI::App &App);
COMMAND_ACTION DeclareVerifyImage(CLI::App &App);
COMMAND_ACTION DeclareKeys(CLI::App &App);
COMMAND_ACTION DeclareVectors(CLI::App &App);

// What runs without a command: boots the driver and shows it at work. Returns mExitCheckFailed when a digest
// differs from the system tool's.
int RunDemonstration(const GLOBAL_OPTIONS &Options);
