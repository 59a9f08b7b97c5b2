// Reading what an RSA context holds, for the families whose cases name the components.
#pragma once

#include <utility>
#include <vector>

#include "tools/vectors/MarkedBuffer.h"
#include "tools/vectors/VectorRun.h"

// Compares component Tag of Context with Wanted, absent and zero both being no bytes.
inline void RequireRsaComponent(VectorRun &Run, VOID *Context, RSA_KEY_TAG Tag,
                                const std::vector<UINT8> &Wanted) {
  MarkedBuffer Value(4096);
  UINTN Size = Value.Size();
  const BOOLEAN Read = Run.Services.SvcRsaGetKey(Context, Tag, Value.Data(), &Size);
  Run.Require(Read == TRUE, "component " + std::to_string(Tag) + " cannot be read");
  std::vector<UINT8> Got = Value.Bytes();
  Got.resize(Read == TRUE ? Size : 0);
  Run.Equal("component " + std::to_string(Tag), Got, Wanted);
}
