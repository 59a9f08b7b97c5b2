// The validation policy protocol.
#include "simulator/ValidationPolicy.h"

#include <string>

#include "simulator/Faults.h"

namespace {

ValidationPolicy *LivingPolicy = nullptr;

} // namespace

ValidationPolicy::ValidationPolicy() : Interface{QueryPolicy} {
  if (LivingPolicy != nullptr) {
    AbortRun("a second validation policy was made while one lives");
  }
  LivingPolicy = this;
}

ValidationPolicy::~ValidationPolicy() {
  LivingPolicy = nullptr;
}

BOOLEAN EFIAPI ValidationPolicy::QueryPolicy(UINTN Operation, VOID *Buffer, UINTN Size) {
  if (LivingPolicy == nullptr) {
    AbortRun("QueryPolicy was called while no validation policy lives");
  }
  LivingPolicy->Queries.push_back({Operation, Buffer, Size});
  if (LivingPolicy->Watcher) {
    LivingPolicy->Watcher(LivingPolicy->Queries.back());
  }
  if (Operation > 1) {
    ReportFault("QueryPolicy: operation " + std::to_string(Operation) + " does not exist");
    return FALSE;
  }
  return LivingPolicy->Answers[Operation];
}
