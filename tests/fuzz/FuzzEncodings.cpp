// Base64 texts and PE files.
#include <functional>

#include "tests/fuzz/FuzzSession.h"
#include "tools/pe/PeSignatures.h"
#include "tools/pe/SignedDigest.h"

namespace {

const CRYPTO_SERVICES_PROTOCOL &Services() {
  return FuzzSession().Services();
}

// Whatever a decoder answers, its result is a block of the caller's exactly on success.
template <typename DECODE> bool Decode(DECODE &&Call) {
  UINT8 *Output = nullptr;
  UINTN Length = 0;
  if (Call(&Output, &Length) == EFI_SUCCESS) {
    FuzzSession().Firmware().SystemTable()->BootServices->FreePool(Output);
    return true;
  }
  Promise(Output == nullptr, "a decoder refused and stored a block");
  return false;
}

template <typename CHARACTER, typename ENCODE, typename DECODE>
void RoundTrip(const std::vector<UINT8> &Data, ENCODE &&Encode, DECODE &&Decode) {
  CHARACTER *Text = nullptr;
  UINTN Length = 0;
  Promise(Encode(Data.data(), Data.size(), &Text, &Length) == EFI_SUCCESS, "data do not encode");
  UINT8 *Output = nullptr;
  UINTN Size = 0;
  Promise(Decode(Text, Length, &Output, &Size) == EFI_SUCCESS &&
              std::vector<UINT8>(Output, Output + Size) == Data,
          "a text does not decode again");
  const auto Free = FuzzSession().Firmware().SystemTable()->BootServices->FreePool;
  Free(Output);
  Free(Text);
}

} // namespace

bool FuzzBase64(std::span<const UINT8> Input) {
  InputParts Parts(Input);
  const UINT8 Switches = Parts.Byte();
  const BOOLEAN UrlSafe = Switches & 1;
  const BOOLEAN NoNewline = Switches >> 1 & 1;
  const std::vector<UINT8> Text = Parts.Rest();
  const std::vector<CHAR16> Wide(Text.begin(), Text.end());
  bool Good = true;
  Good &= Decode([&](UINT8 **Output, UINTN *Length) {
    return Services().SvcBase64DecodeUnicode(UrlSafe, NoNewline, Wide.data(), Wide.size(), Output, Length);
  });
  Good &= Decode([&](UINT8 **Output, UINTN *Length) {
    return Services().SvcBase64DecodeUnicodeAuto(Wide.data(), Wide.size(), Output, Length);
  });
  Good &= Decode([&](UINT8 **Output, UINTN *Length) {
    std::vector<CHAR8> Own(Text.begin(), Text.end());
    return Services().SvcBase64DecodeAscii(UrlSafe, NoNewline, Own.data(), Own.size(), Output, Length);
  });
  Good &= Decode([&](UINT8 **Output, UINTN *Length) {
    std::vector<CHAR8> Own(Text.begin(), Text.end());
    return Services().SvcBase64DecodeAsciiAuto(Own.data(), Own.size(), Output, Length);
  });
  if (!Text.empty()) {
    using namespace std::placeholders;
    RoundTrip<CHAR8>(Text, std::bind(Services().SvcBase64EncodeToAscii, UrlSafe, NoNewline, _1, _2, _3, _4),
                     std::bind(Services().SvcBase64DecodeAscii, UrlSafe, NoNewline, _1, _2, _3, _4));
    RoundTrip<CHAR16>(Text,
                      std::bind(Services().SvcBase64EncodeToUnicode, UrlSafe, NoNewline, _1, _2, _3, _4),
                      std::bind(Services().SvcBase64DecodeUnicode, UrlSafe, NoNewline, _1, _2, _3, _4));
  }
  return Good;
}

bool FuzzPe(std::span<const UINT8> Input) {
  const std::vector<UINT8> File = InputParts(Input).Rest();
  bool Good = false;
  try {
    const PeFile Pe = ReadPeFile(File);
    UINT64 Covered = 0;
    for (const PeRange &Range : Pe.Digested) {
      Promise(Range.Offset >= Covered && Range.Size <= File.size() - Range.Offset,
              "a range outside the file");
      Covered = Range.Offset + Range.Size;
    }
    for (const PeSignature &Signature : Pe.Signatures) {
      Promise(Signature.Content.Offset >= Covered &&
                  Signature.Content.Offset + Signature.Content.Size <= File.size(),
              "a signature outside its table");
      ReadSignedDigest(std::span(File).subspan(Signature.Content.Offset, Signature.Content.Size));
      Good = true;
    }
  } catch (const PeError &) {
    // As it should be.
  } catch (const DerError &) {
    // The same.
  }
  return Good;
}
