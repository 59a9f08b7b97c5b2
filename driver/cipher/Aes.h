// AES in ECB and CBC mode (FIPS 197, SP 800-38A) in a context that the caller
// owns: two key schedules, no pointers, free to copy, no clean-up. Nothing is
// allocated; the data is not copied.
#pragma once

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

// Slots of the service table; each refusal is FALSE and writes nothing. Key
// lengths are in bits: 128, 192 or 256. Data sizes are multiples of 16; CBC
// takes at most 0x7FFFFFFF bytes. Output may be Input; Ivec is only read.
UINTN EFIAPI SvcAesGetContextSize();
BOOLEAN EFIAPI SvcAesInit(VOID *Context, const UINT8 *Key, UINTN KeyLength);
BOOLEAN EFIAPI SvcAesCbcEncrypt(VOID *Context, const UINT8 *Input, UINTN InputSize, const UINT8 *Ivec,
                                UINT8 *Output);
BOOLEAN EFIAPI SvcAesCbcDecrypt(VOID *Context, const UINT8 *Input, UINTN InputSize, const UINT8 *Ivec,
                                UINT8 *Output);
BOOLEAN EFIAPI SvcAesEcbEncrypt(VOID *Context, const UINT8 *Input, UINTN InputSize, UINT8 *Output);
BOOLEAN EFIAPI SvcAesEcbDecrypt(VOID *Context, const UINT8 *Input, UINTN InputSize, UINT8 *Output);
