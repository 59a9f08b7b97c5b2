// The library's capability words and the driver's own, set up once. An image
// runs no constructor, so the library does not do it by itself.
#include "driver/runtime/ProcessorFeatures.h"

#include "driver/platform/Processor.h"

// crypto/cpuid.c of the library: leaf 1 EDX and ECX, leaf 7 EBX and ECX.
extern "C" UINT32 OPENSSL_ia32cap_P[4];
extern "C" void OPENSSL_cpuid_setup(void);

PROCESSOR_FEATURES ProcessorFeatures;

namespace {

consteval UINT32 Bit(UINT32 Number) {
  return UINT32{1} << Number;
}

// Firmware interrupt code commonly saves only the FXSAVE state: a notification
// that ran AVX code would damage the code it interrupted. The masks name every
// extension that uses the upper register halves.
constexpr UINT32 Leaf1EcxAvx = Bit(28) /* AVX */ | Bit(12) /* FMA */ | Bit(11) /* XOP, the library's place */;
constexpr UINT32 Leaf7EbxAvx = Bit(5) /* AVX2 */ | Bit(16) | Bit(17) | Bit(21) | Bit(26) | Bit(27) | Bit(28) |
                               Bit(30) | Bit(31) /* AVX-512 F, DQ, IFMA, PF, ER, CD, BW, VL */;
constexpr UINT32 Leaf7EcxAvx = Bit(1) | Bit(6) | Bit(11) | Bit(12) | Bit(14) /* AVX-512 VBMI to VPOPCNTDQ */ |
                               Bit(9) /* VAES */ | Bit(10) /* VPCLMULQDQ */;

constexpr UINT32 Leaf1EcxSsse3 = Bit(9);
constexpr UINT32 Leaf1EcxAesNi = Bit(25);
constexpr UINT32 Leaf1EcxRdrand = Bit(30);
constexpr UINT32 Leaf7EbxRdseed = Bit(18);

} // namespace

void SetUpProcessorFeatures() {
  OPENSSL_cpuid_setup();
  OPENSSL_ia32cap_P[1] &= ~Leaf1EcxAvx;
  OPENSSL_ia32cap_P[2] &= ~Leaf7EbxAvx;
  OPENSSL_ia32cap_P[3] &= ~Leaf7EcxAvx;

  CPUID_RESULT Basic = {};
  CPUID_RESULT Leaf = {};
  ProcessorCpuid(0, 0, &Basic);
  ProcessorCpuid(1, 0, &Leaf);
  ProcessorFeatures.AesNi = (Leaf.Ecx & Leaf1EcxAesNi) != 0;
  ProcessorFeatures.Ssse3 = (Leaf.Ecx & Leaf1EcxSsse3) != 0;
  ProcessorFeatures.Rdrand = (Leaf.Ecx & Leaf1EcxRdrand) != 0;
  if (Basic.Eax >= 7) {
    ProcessorCpuid(7, 0, &Leaf);
    ProcessorFeatures.Rdseed = (Leaf.Ebx & Leaf7EbxRdseed) != 0;
  }
}
