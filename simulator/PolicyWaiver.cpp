// The waiver protocol.
#include "simulator/PolicyWaiver.h"

#include "simulator/Faults.h"

namespace {

PolicyWaiver *LivingWaiver = nullptr;

} // namespace

PolicyWaiver::PolicyWaiver() : Interface{IsWaived} {
  if (LivingWaiver != nullptr) {
    AbortRun("a second policy waiver was made while one lives");
  }
  LivingWaiver = this;
}

PolicyWaiver::~PolicyWaiver() {
  LivingWaiver = nullptr;
}

BOOLEAN EFIAPI PolicyWaiver::IsWaived() {
  if (LivingWaiver == nullptr) {
    AbortRun("IsWaived was called while no policy waiver lives");
  }
  ++LivingWaiver->Calls;
  return LivingWaiver->Answer;
}
