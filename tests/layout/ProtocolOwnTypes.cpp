// A consumer in C++ that brings no types of its own: the protocol's header must do alone. Compiles only.
#include "CryptoServicesProtocol.h"

#include "tests/layout/ProtocolChecks.h"

static_assert(mCryptoServicesProtocolGuid.Data1 == 0xEBE5F44E &&
              mCryptoServicesProtocolGuid.Data2 == 0xBE74 && mCryptoServicesProtocolGuid.Data3 == 0x4A52);
static_assert(mCryptoServicesProtocolGuid.Data4[0] == 0x96 && mCryptoServicesProtocolGuid.Data4[7] == 0x50);
