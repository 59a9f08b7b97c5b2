// ContentInfo { type, [0] { SignedData { version, digests, { type, [0] { SpcIndirectDataContent } } } } },
// the last of which is { data, DigestInfo { { algorithm }, digest } }.
#include "tools/pe/SignedDigest.h"

SignedDigest ReadSignedDigest(DerBytes Message) {
  DerReader Info = DerReader(Message).Enter(0x30);
  Info.Next(0x06);
  DerReader Signed = Info.Enter(0xA0).Enter(0x30);
  Signed.Next(0x02);
  Signed.Next(0x31);
  DerReader Content = Signed.Enter(0x30);
  Content.Next(0x06);
  DerReader Indirect = Content.Enter(0xA0).Enter(0x30);
  Indirect.Next(0x30);
  DerReader Digest = Indirect.Enter(0x30);
  const DerBytes Oid = Digest.Enter(0x30).Next(0x06).Content;
  const DerBytes Value = Digest.Next(0x04).Content;
  return {{Oid.begin(), Oid.end()}, {Value.begin(), Value.end()}};
}
