// Triple DES in EDE form and CBC mode (SP 800-67, SP 800-38A) in a context that
// the caller owns: three key schedules, no pointers, free to copy, no clean-up.
// Nothing is allocated; the data is not copied.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Slots of the service table; each refusal is FALSE and writes nothing to
// Output. Key lengths are in bits: 64 (K1 = K2 = K3), 128 (K3 = K1) or 192. A
// part that is one of the 16 weak and semi-weak keys, compared with its parity
// bits, is refused; the context then holds the schedules made so far. Data
// sizes are multiples of 8, at most 0x7FFFFFFF. Output may be Input; Ivec is
// only read.
UINTN EFIAPI SvcTdesGetContextSize();
BOOLEAN EFIAPI SvcTdesInit(VOID *Context, const UINT8 *Key, UINTN KeyLength);
BOOLEAN EFIAPI SvcTdesCbcEncrypt(VOID *Context, const UINT8 *Input, UINTN InputSize, const UINT8 *Ivec,
                                 UINT8 *Output);
BOOLEAN EFIAPI SvcTdesCbcDecrypt(VOID *Context, const UINT8 *Input, UINTN InputSize, const UINT8 *Ivec,
                                 UINT8 *Output);
