// "verify-image": a firmware image through slot 4, and what the service does to the caller's buffer
// meanwhile.
#include <algorithm>
#include <memory>

#include <fmt/core.h>

#include "simulator/ImageLayout.h"
#include "simulator/PolicyWaiver.h"
#include "simulator/ValidationPolicy.h"
#include "tools/fwboot/Commands.h"
#include "tools/fwboot/InputFile.h"
#include "tools/fwboot/LayoutFile.h"
#include "tools/fwboot/Wording.h"
#include "tools/session/StatusNames.h"

namespace {

// More pool allocations than the service makes.
constexpr UINTN mWatchedAllocations = 200;

struct VERIFY_IMAGE_OPTIONS {
  std::string ImagePath;
  std::string LayoutPath;
  std::string Policy = "absent";
  bool Preserve = false;
};

// An area of the image, with its bytes before the call and whether it was seen blank during it.
struct Area {
  std::string Name;
  UINT64 Offset;
  UINT64 Size;
  std::vector<UINT8> Before;
  bool Blanked = false;
};

bool IsBlank(const UINT8 *First, UINT64 Size) {
  return std::all_of(First, First + Size, [](UINT8 Byte) { return Byte == 0xFF; });
}

// The areas of the layout that lie in the image.
std::vector<Area> AreasOf(const IMAGE_LAYOUT_DESCRIPTOR &Layout, const std::vector<UINT8> &Image) {
  std::vector<Area> Areas;
  const auto Add = [&](const std::string &Name, UINT64 Offset, UINT64 Size) {
    if (Size != 0 && Offset <= Image.size() && Size <= Image.size() - Offset) {
      Areas.push_back({Name, Offset, Size, {Image.data() + Offset, Image.data() + Offset + Size}});
    }
  };
  Add("excluded region 1", Layout.ExcludedRegion1Offset, Layout.ExcludedRegion1Size);
  Add("excluded region 2", Layout.ExcludedRegion2Offset, Layout.ExcludedRegion2Size);
  Add("excluded region 3", Layout.ExcludedRegion3Offset, Layout.ExcludedRegion3Size);
  const auto AddSignature = [&](const std::string &Name, UINT64 Block) {
    if (Block <= Image.size()) {
      Add(Name, Block + IMAGE_SIGNATURE_BLOCK_SIGNATURE_OFFSET, IMAGE_SIGNATURE_BLOCK_SIGNATURE_SIZE);
    }
  };
  AddSignature("signature", Layout.SignatureBlockOffset);
  if (Layout.SecondSignatureBlockOffset != IMAGE_LAYOUT_NO_SECOND_BLOCK) {
    AddSignature("second signature", Layout.SecondSignatureBlockOffset);
  }
  return Areas;
}

// The platform's modules that the service asks.
class ImagePlatform {
public:
  ImagePlatform(const IMAGE_LAYOUT_DESCRIPTOR &Descriptor, const std::string &Policy) : Policy_(Policy) {
    Layout_.Descriptor = Descriptor;
    Verdict_.Answers[1] = Policy == "agree" ? TRUE : FALSE;
  }

  void Install(HandleDatabase &Handles) {
    Handles.InstallHost(mImageLayoutProtocolGuid, &Layout_.Interface);
    if (Policy_ != "absent") {
      Handles.InstallHost(mValidationPolicyProtocolGuid, &Verdict_.Interface);
    }
    if (Policy_ == "waived") {
      Handles.InstallHost(mPolicyCheckWaiverProtocolGuid, &Waiver_.Interface);
    }
  }

  std::string Report() const {
    return Waiver_.Calls != 0          ? "waived"
           : !Verdict_.Queries.empty() ? "asked " + Counted(Verdict_.Queries.size(), "question")
                                       : "not asked";
  }

private:
  const std::string Policy_;
  ImageLayout Layout_;
  PolicyWaiver Waiver_;
  ValidationPolicy Verdict_;
};

void PrintArea(const Area &Each, const std::vector<UINT8> &Image) {
  const bool Restored = std::equal(Each.Before.begin(), Each.Before.end(), Image.data() + Each.Offset);
  fmt::print("  {:18} {:#x}, {}: {}, {}\n", Each.Name, Each.Offset, Counted(Each.Size, "byte"),
             Each.Blanked ? "blanked" : "not blanked",
             Restored                                         ? "holds its old bytes"
             : IsBlank(Image.data() + Each.Offset, Each.Size) ? "left blank"
                                                              : "holds other bytes");
}

int RunVerifyImage(const GLOBAL_OPTIONS &Options, const VERIFY_IMAGE_OPTIONS &Own) {
  const std::vector<UINT8> Original = ReadInput(Own.ImagePath);
  const std::vector<UINT8> LayoutText = ReadInput(Own.LayoutPath);
  const IMAGE_LAYOUT_DESCRIPTOR Layout =
      ParseLayout(Own.LayoutPath, std::string(LayoutText.begin(), LayoutText.end()));
  ImagePlatform Platform(Layout, Own.Policy);
  SessionOptions Boot = Options.Session();
  Boot.Prepare = [&](DriverSession &Session) { Platform.Install(Session.Firmware().Handles); };
  DriverSession Session(std::move(Boot));
  RequireServices(Session);

  std::vector<UINT8> Image = Original;
  std::vector<Area> Areas = AreasOf(Layout, Image);
  // The service allocates while the image is blank: the one moment at which a caller can look.
  for (UINTN Call = 1; Call <= mWatchedAllocations; ++Call) {
    Session.Firmware().Memory.OnCall(Call, [&] {
      for (Area &Each : Areas) {
        Each.Blanked = Each.Blanked || IsBlank(Image.data() + Each.Offset, Each.Size);
      }
    });
  }
  const EFI_STATUS Status =
      Session.Services().SvcVerifyFirmwareImage(Image.data(), Image.size(), Own.Preserve ? TRUE : FALSE);
  fmt::print("SvcVerifyFirmwareImage: {}\n", StatusName(Status));
  for (const Area &Each : Areas) {
    PrintArea(Each, Image);
  }
  fmt::print("  policy: {}\n", Platform.Report());
  UINT64 Changed = 0;
  for (size_t Index = 0; Index < Image.size(); ++Index) {
    Changed += Image[Index] != Original[Index];
  }
  fmt::print("The buffer {}\n", Changed == 0
                                    ? "is byte for byte what it was"
                                    : "has " + Counted(Changed, "byte") + " that are not what they were");
  return Status == EFI_SUCCESS ? mExitFine : mExitCheckFailed;
}

} // namespace

COMMAND_ACTION DeclareVerifyImage(CLI::App &App) {
  auto Own = std::make_shared<VERIFY_IMAGE_OPTIONS>();
  App.add_option("IMAGE", Own->ImagePath, "The image")->required();
  App.add_option("--layout", Own->LayoutPath, "What the platform says about it")
      ->type_name("FILE")
      ->required();
  App.add_flag("--preserve", Own->Preserve, "Let the service put the excluded regions back");
  App.add_option("--policy", Own->Policy,
                 "The platform's validation policy: absent, agree, object, or waived (objecting, but waived)")
      ->type_name("WAY")
      ->check(CLI::IsMember({"absent", "agree", "object", "waived"}))
      ->capture_default_str();
  App.footer("A layout is a text of lines: exclude1 = OFFSET SIZE, exclude2 and exclude3 likewise,\n"
             "block = OFFSET, and second = OFFSET where there is a second signature block. Numbers are\n"
             "decimal or hexadecimal (0x); # starts a comment.\n"
             "The built-in store holds no key that an image can select, so no image is accepted: the\n"
             "command shows the way through the service, and the state of the buffer behind it.");
  return [Own](const GLOBAL_OPTIONS &Options) { return RunVerifyImage(Options, *Own); };
}
