// The list is built again from the case and compared as a whole.
#include "tools/vectors/SignerList.h"

#include <string>

#include "tools/vectors/Families.h"

namespace {

UINT8 mPlaceMark;
constexpr UINTN mUnchanged = 77;

std::vector<UINT8> Signer(VectorRun &Run, UINT64 Index) {
  const std::string Key = "signer." + std::to_string(Index);
  return Run.Case.Text(Key) == "@trust" ? Run.Case.Hex("trust") : Run.Case.Hex(Key);
}

} // namespace

void RunSignerList(VectorRun &Run, const std::vector<UINT8> &Message) {
  std::vector<UINT8> List;
  std::vector<UINT8> First;
  const UINT64 Count = Run.Case.Number("signers");
  List.push_back(static_cast<UINT8>(Count));
  for (UINT64 Index = 0; Index < Count; ++Index) {
    First = Signer(Run, Index);
    for (int Shift = 0; Shift < 32; Shift += 8) {
      List.push_back(static_cast<UINT8>(First.size() >> Shift));
    }
    List.insert(List.end(), First.begin(), First.end());
  }

  SIGNER_CERT_LIST *GotList = &mPlaceMark;
  UINT8 *GotFirst = &mPlaceMark;
  UINTN ListSize = mUnchanged;
  UINTN FirstSize = mUnchanged;
  const BOOLEAN Answer = Run.Services.SvcPkcs7GetSigners(Message.data(), Message.size(), &GotList, &ListSize,
                                                         &GotFirst, &FirstSize);
  if (Run.Boolean(32, Answer)) {
    Run.Equal("the signer list", {GotList, GotList + ListSize}, List);
    Run.Equal("the first signer", {GotFirst, GotFirst + FirstSize}, First);
    Run.Services.SvcPkcs7FreeSigners(GotList);
    Run.Services.SvcPkcs7FreeSigners(GotFirst);
  } else {
    Run.Require(Answer == TRUE || (GotList == &mPlaceMark && GotFirst == &mPlaceMark &&
                                   ListSize == mUnchanged && FirstSize == mUnchanged),
                "SvcPkcs7GetSigners refused and stored a result");
  }
}
