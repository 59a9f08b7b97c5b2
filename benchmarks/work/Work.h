// What ./bench measures: pieces of work, each written once with the bare crypto library and once with the
// driver's table. Nothing here measures, and nothing knows which library or build it runs with.
#pragma once

#include <functional>
#include <span>
#include <vector>

#include "uefi/Uefi.h"

#include "CryptoServicesProtocol.h"

using Bytes = std::vector<UINT8>;

// A driver that has started, and the firmware that its new buffers go back to.
struct BOOTED {
  const CRYPTO_SERVICES_PROTOCOL &Services;
  EFI_BOOT_SERVICES &Boot;
};

// One run of a piece of work; false when it went wrong. What comes out, when it is the same each time, goes
// to the start of OutputBuffer, where the sides are compared.
using STEP = std::function<bool()>;

enum class UNIT { Bytes, Bits, Nothing };
enum class PROCESSOR { Native, WithoutAesNi };

struct WORK {
  const char *Family;
  // With the slots that do it.
  const char *Name;
  UNIT Unit;
  std::span<const UINTN> Sizes;
  // Least share of the bare library's speed that the linked driver must give, at mAimFrom bytes and above
  // when sizes are bytes; 0: no aim.
  double Aim;
  // The work prepared for one of the sizes. No Bare: nothing to compare with.
  STEP (*Bare)(UINTN Size);
  STEP (*Driver)(const BOOTED &Driver, UINTN Size);
  PROCESSOR Processor = PROCESSOR::Native;
  // By its interface, no call asks for memory.
  bool AllocatesNothing = false;
  // An internal routine, which only the linked build lets us reach.
  bool LinkedOnly = false;
};

inline constexpr UINTN mAimFrom = 16384;
inline constexpr UINTN mDataSizes[] = {64, 256, 1024, 4096, 16384, 65536, 1 << 20, 16 << 20};
inline constexpr UINTN mSignedSizes[] = {1024, 16384, 1 << 20, 16 << 20};
inline constexpr UINTN mKeyBits[] = {2048, 4096};
inline constexpr UINTN mNoSize[] = {0};

// 16 MiB each; the first is mPattern throughout.
inline constexpr UINTN mBufferSize = 16 << 20;
inline constexpr UINT8 mPattern = 0x5A;
const UINT8 *InputBuffer();
UINT8 *OutputBuffer();

// The families that both the report and the program with the conventional library hold, in the order of the
// report.
std::vector<WORK> AllWorks();

std::span<const WORK> DigestWorks();
std::span<const WORK> MacWorks();
std::span<const WORK> CipherWorks();
std::span<const WORK> LayeredWorks();
std::span<const WORK> Base64Works();
std::span<const WORK> RandomWorks();
std::span<const WORK> RsaWorks();
std::span<const WORK> SignedDataWorks();
std::span<const WORK> CertificateWorks();
std::span<const WORK> DhWorks();

// Only in the report: it includes a header of the driver.
std::span<const WORK> ImageWorks();
