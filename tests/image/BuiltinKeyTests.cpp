// Where the moduli of the built-in store are in the finished image: in its code, a word at a time, and
// nowhere as a run of bytes that could be found and replaced.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "tests/services/RsaTestKey.h"

namespace {

UINTN Occurrences(const Bytes &Where, const UINT8 *What, UINTN Size) {
  UINTN Count = 0;
  for (auto Place = Where.begin();; ++Place, ++Count) {
    Place = std::search(Place, Where.end(), What, What + Size);
    if (Place == Where.end()) {
      return Count;
    }
  }
}

TEST(BuiltinKeyTest, ModuliAreInTheCodeAlone) {
  std::ifstream Stream(TestedImage(), std::ios::binary);
  const Bytes File(std::istreambuf_iterator<char>(Stream), {});
  ASSERT_FALSE(File.empty());
  for (const char *Name : {"type1-private", "type3-private", "type4-private"}) {
    const Bytes BigEndian = RsaTestKey::Load(Name).N();
    for (const Bytes &Modulus : {BigEndian, Reversed(BigEndian)}) {
      for (UINTN Offset = 0; Offset + 9 <= Modulus.size(); Offset++) {
        EXPECT_EQ(Occurrences(File, &Modulus[Offset], 9), 0U) << Name << ", nine bytes at " << Offset;
      }
    }
    const Bytes Words = Reversed(BigEndian);
    for (UINTN Offset = 0; Offset < Words.size(); Offset += 8) {
      EXPECT_EQ(Occurrences(File, &Words[Offset], 8), 1U) << Name << ", word at " << Offset;
    }
  }
}

} // namespace
