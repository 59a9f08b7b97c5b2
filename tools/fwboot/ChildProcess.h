// Runs a tool of the host as a child process, without a shell.
#pragma once

#include <optional>
#include <string>
#include <vector>

// What the tool writes to its standard output, its standard input being the file at InputPath. Nothing when
// the tool is not installed, the file cannot be opened, or the tool does not end with exit code 0.
std::optional<std::string> RunTool(const std::vector<std::string> &Arguments, const std::string &InputPath);
