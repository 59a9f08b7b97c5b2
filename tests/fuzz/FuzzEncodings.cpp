// Base64 texts and PE files.
#include "tests/fuzz/FuzzSession.h"
#include "tools/pe/PeSignatures.h"

namespace {

const CRYPTO_SERVICES_PROTOCOL &Services() {
  return FuzzSession().Services();
}

// Whatever a decoder answers, its result is a block of the caller's exactly on success.
template <typename DECODE> void Decode(DECODE &&Call) {
  UINT8 *Output = nullptr;
  UINTN Length = 0;
  if (Call(&Output, &Length) == EFI_SUCCESS) {
    FuzzSession().Firmware().SystemTable()->BootServices->FreePool(Output);
  } else {
    Promise(Output == nullptr, "a decoder refused and stored a block");
  }
}

void RoundTrip(std::vector<UINT8> Data, BOOLEAN UrlSafe, BOOLEAN NoNewline) {
  CHAR8 *Text = nullptr;
  UINTN Length = 0;
  if (Services().SvcBase64EncodeToAscii(UrlSafe, NoNewline, Data.data(), Data.size(), &Text, &Length) !=
      EFI_SUCCESS) {
    return;
  }
  UINT8 *Output = nullptr;
  UINTN Size = 0;
  const EFI_STATUS Status = Services().SvcBase64DecodeAscii(UrlSafe, NoNewline, Text, Length, &Output, &Size);
  Promise(Status == EFI_SUCCESS && std::vector<UINT8>(Output, Output + Size) == Data,
          "a text does not decode again");
  const auto Free = FuzzSession().Firmware().SystemTable()->BootServices->FreePool;
  Free(Output);
  Free(Text);
}

} // namespace

void FuzzBase64(std::span<const UINT8> Input) {
  InputParts Parts(Input);
  const UINT8 Switches = Parts.Byte();
  const BOOLEAN UrlSafe = Switches & 1;
  const BOOLEAN NoNewline = Switches >> 1 & 1;
  const std::vector<UINT8> Text = Parts.Rest();
  const std::vector<CHAR16> Wide(Text.begin(), Text.end());
  Decode([&](UINT8 **Output, UINTN *Length) {
    return Services().SvcBase64DecodeUnicode(UrlSafe, NoNewline, Wide.data(), Wide.size(), Output, Length);
  });
  Decode([&](UINT8 **Output, UINTN *Length) {
    return Services().SvcBase64DecodeUnicodeAuto(Wide.data(), Wide.size(), Output, Length);
  });
  Decode([&](UINT8 **Output, UINTN *Length) {
    std::vector<CHAR8> Own(Text.begin(), Text.end());
    return Services().SvcBase64DecodeAscii(UrlSafe, NoNewline, Own.data(), Own.size(), Output, Length);
  });
  Decode([&](UINT8 **Output, UINTN *Length) {
    std::vector<CHAR8> Own(Text.begin(), Text.end());
    return Services().SvcBase64DecodeAsciiAuto(Own.data(), Own.size(), Output, Length);
  });
  if (!Text.empty()) {
    RoundTrip(Text, UrlSafe, NoNewline);
  }
}

void FuzzPe(std::span<const UINT8> Input) {
  const std::vector<UINT8> File = InputParts(Input).Rest();
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
    }
  } catch (const PeError &) {
    // As it should be.
  }
}
