// One instruction per routine, never inlined.
#include "driver/platform/Processor.h"

extern "C" {

[[gnu::noinline]] void ProcessorCpuid(UINT32 Leaf, UINT32 SubLeaf, CPUID_RESULT *Result) {
  __asm__ volatile("cpuid"
                   : "=a"(Result->Eax), "=b"(Result->Ebx), "=c"(Result->Ecx), "=d"(Result->Edx)
                   : "a"(Leaf), "c"(SubLeaf));
}

[[gnu::noinline]] UINT64 ProcessorTimeStamp(void) {
  UINT32 Low;
  UINT32 High;
  __asm__ volatile("rdtsc" : "=a"(Low), "=d"(High));
  return static_cast<UINT64>(High) << 32 | Low;
}

[[gnu::noinline]] BOOLEAN ProcessorRdseed(UINT64 *Word) {
  bool Ready;
  __asm__ volatile("rdseed %0" : "=r"(*Word), "=@ccc"(Ready));
  return Ready;
}

[[gnu::noinline]] BOOLEAN ProcessorRdrand(UINT64 *Word) {
  bool Ready;
  __asm__ volatile("rdrand %0" : "=r"(*Word), "=@ccc"(Ready));
  return Ready;
}
}
