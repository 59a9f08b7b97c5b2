// A consumer in C11 that brings no types of its own: the protocol's header must do alone. Compiles only.
#include "CryptoServicesProtocol.h"

#include "tests/layout/ProtocolChecks.h"

const EFI_GUID mOwnTypesGuid = CRYPTO_SERVICES_PROTOCOL_GUID;
