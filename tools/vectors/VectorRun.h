// What the routine of a family works with: a case, the booted driver, and the comparisons whose failures it
// collects. A comparison that fails is noted and the routine goes on; nothing here ends it.
#pragma once

#include <string>
#include <vector>

#include "tools/session/DriverSession.h"
#include "tools/vectors/VectorCase.h"

class VectorRun {
public:
  VectorRun(VectorCase &Case, DriverSession &Session)
      : Case(Case), Session(Session), Services(Session.Services()) {}

  VectorCase &Case;
  DriverSession &Session;
  // Behind the checked gate.
  const CRYPTO_SERVICES_PROTOCOL &Services;

  // Compare an answer of Slot with what the case expects of it. TRUE when the service succeeded and was
  // allowed to, so that its results are to be compared; FALSE when it refused, so that it must have written
  // nothing, or when the answer was wrong.
  bool Boolean(UINTN Slot, BOOLEAN Answer);
  bool Status(UINTN Slot, EFI_STATUS Answer);
  bool Size(UINTN Slot, UINTN Answer, UINTN Wanted);

  // Seeds the driver's random generator, which is not ready by itself on a processor without a source of
  // random words. For cases whose services draw from it.
  void MakeGeneratorReady();

  // Notes a failure unless the two are equal; What names the value in it.
  void Equal(const std::string &What, const std::vector<UINT8> &Got, const std::vector<UINT8> &Wanted);

  // Notes a failure unless Holds.
  void Require(bool Holds, const std::string &Failure);

  const std::vector<std::string> &Failures() const { return Failures_; }

private:
  bool Judge(UINTN Slot, bool Succeeded, bool AsExpected, const std::string &Got, const std::string &Wanted);

  std::vector<std::string> Failures_;
};
