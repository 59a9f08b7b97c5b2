// The families in the order of the report, and the buffers they share.
#include "benchmarks/work/Work.h"

const UINT8 *InputBuffer() {
  static const Bytes Buffer(mBufferSize, mPattern);
  return Buffer.data();
}

UINT8 *OutputBuffer() {
  static Bytes Buffer(mBufferSize + 64);
  return Buffer.data();
}

std::vector<WORK> AllWorks() {
  std::vector<WORK> All;
  for (const std::span<const WORK> Family :
       {DigestWorks(), MacWorks(), CipherWorks(), LayeredWorks(), Base64Works(), RandomWorks(), RsaWorks(),
        SignedDataWorks(), CertificateWorks(), DhWorks()}) {
    All.insert(All.end(), Family.begin(), Family.end());
  }
  return All;
}
