// An RSA context of the driver for the families that sign, verify and decrypt, released at its end.
#pragma once

#include <string>
#include <vector>

#include "tools/vectors/VectorRun.h"

class RsaSession {
public:
  explicit RsaSession(VectorRun &Run) : Run_(Run), Context_(Run.Services.SvcRsaNew()) {
    Run_.Require(Context_ != nullptr, "SvcRsaNew answered NULL");
  }
  ~RsaSession() { Run_.Services.SvcRsaFree(Context_); }
  RsaSession(const RsaSession &) = delete;
  RsaSession &operator=(const RsaSession &) = delete;

  VOID *Context() const { return Context_; }

  void Set(RSA_KEY_TAG Tag, const std::vector<UINT8> &Value) {
    Run_.Require(Run_.Services.SvcRsaSetKey(Context_, Tag, Value.data(), Value.size()) == TRUE,
                 "component " + std::to_string(Tag) + " cannot be set");
  }

private:
  VectorRun &Run_;
  VOID *Context_;
};

// The digest that a case gives, which must be that of its message where it has one and the algorithm is one
// of the driver's.
std::vector<UINT8> RsaDigestOfCase(VectorRun &Run);
