// Runs the cases of a vector file against a booted driver. Knows no family; Families.h does.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/session/DriverSession.h"
#include "tools/vectors/VectorFile.h"

struct VectorOptions {
  // How the driver is booted, once for a file or once for a case, as the family needs it.
  SessionOptions Session;
  // Only cases whose id contains this text run.
  std::string IdPart;
  // Run the cases that say of themselves that they are slow.
  bool Slow = false;
  // Called after every case with the number of cases run and to run.
  std::function<void(UINTN Done, UINTN Total)> Progress;
};

struct VectorResult {
  UINTN Passed = 0;
  UINTN Failed = 0;
  // One line for every case that failed: its place, its id and all that was wrong.
  std::vector<std::string> Failures;
  // The place and id of every case that was left out because it is slow.
  std::vector<std::string> Skipped;
};

// Runs the cases in the order of the file. A case fails by a wrong answer or result, a fault that the
// firmware reports of the driver, or a halt; the others still run. Throws VectorError for a family or key
// that nobody knows and for a case that makes no sense, LoadError or BootError when the driver cannot be
// started.
VectorResult RunVectors(const VectorFile &File, const VectorOptions &Options);

// Throws what RunVectors would throw for the file before its first case.
void CheckVectors(const VectorFile &File);
