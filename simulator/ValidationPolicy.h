// The platform module that has the last word on an image whose signature holds: answers as a test scripted
// and keeps what it was asked. Its interface carries no pointer to itself, so one lives at a time.
#pragma once

#include <functional>
#include <vector>

#include "uefi/ValidationPolicyProtocol.h"

class ValidationPolicy {
public:
  struct Query {
    UINTN Operation;
    const VOID *Buffer;
    UINTN Size;

    bool operator==(const Query &) const = default;
  };

  ValidationPolicy();
  ~ValidationPolicy();
  ValidationPolicy(const ValidationPolicy &) = delete;
  ValidationPolicy &operator=(const ValidationPolicy &) = delete;

  // The interface to install.
  VALIDATION_POLICY_PROTOCOL Interface;

  // The answers to operations 0 and 1; any other operation is a fault.
  BOOLEAN Answers[2] = {TRUE, TRUE};

  // All queries so far.
  std::vector<Query> Queries;

  // Runs inside each query, after it was kept. An empty function ends it.
  std::function<void(const Query &)> Watcher;

private:
  static BOOLEAN EFIAPI QueryPolicy(UINTN Operation, VOID *Buffer, UINTN Size);
};
