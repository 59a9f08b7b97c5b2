// The check of a whole firmware image beside one SHA-256 pass over the same bytes. The shipped store has no
// key for images, so the internal routine is called with a key of our own; the linked build alone lets us.
#include "benchmarks/work/Work.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "benchmarks/work/Material.h"
#include "driver/trust/FirmwareImage.h"
#include "simulator/ImageLayout.h"
#include "simulator/SimulatedFirmware.h"
#include "tools/session/BareLibrary.h"

namespace {

Bytes mModulus; // least-significant byte first

EFI_STATUS LookUp(BUILTIN_KEY_TYPE, BUILTIN_KEY_RECORD **Records, UINTN *Count, const VOID *const *) {
  const EFI_STATUS Status = AllocateKeyRecords(Records, 1);
  if (Status == EFI_SUCCESS) {
    std::copy(mModulus.begin(), mModulus.end(), (*Records)->Modulus);
    *Count = 1;
  }
  return Status;
}

// A firmware image with three regions that its signature leaves out, and its layout, installed.
struct SIGNED_IMAGE {
  SIGNED_IMAGE(UINTN Size, UINTN RegionSize);
  ~SIGNED_IMAGE() { SimulatedFirmware::Living().Handles.UninstallHost(Handle, mImageLayoutProtocolGuid); }
  SIGNED_IMAGE(const SIGNED_IMAGE &) = delete;
  SIGNED_IMAGE &operator=(const SIGNED_IMAGE &) = delete;

  ImageLayout Layout;
  EFI_HANDLE Handle;
  Bytes Image;
};

SIGNED_IMAGE::SIGNED_IMAGE(UINTN Size, UINTN RegionSize) : Image(Size, mPattern) {
  constexpr UINTN Block = 0x20000;
  constexpr UINTN At = Block + IMAGE_SIGNATURE_BLOCK_SIGNATURE_OFFSET;
  IMAGE_LAYOUT_DESCRIPTOR &Descriptor = Layout.Descriptor;
  Descriptor.SignatureBlockOffset = Block;
  Descriptor.SecondSignatureBlockOffset = IMAGE_LAYOUT_NO_SECOND_BLOCK;
  Descriptor.ExcludedRegion1Offset = 0x1000;
  Descriptor.ExcludedRegion1Size = RegionSize;
  Descriptor.ExcludedRegion2Offset = 0x30000;
  Descriptor.ExcludedRegion2Size = 0x1000;
  Descriptor.ExcludedRegion3Offset = Size - 16;
  Descriptor.ExcludedRegion3Size = 16;
  Handle = SimulatedFirmware::Living().Handles.InstallHost(mImageLayoutProtocolGuid, &Layout.Interface);

  std::memset(&Image[Block + IMAGE_SIGNATURE_BLOCK_KEY_SELECT_OFFSET], 0, 4);
  Bytes Blank = Image;
  std::memset(&Blank[0x1000], 0xFF, RegionSize);
  std::memset(&Blank[0x30000], 0xFF, 0x1000);
  std::memset(&Blank[Size - 16], 0xFF, 16);
  std::memset(&Blank[At], 0xFF, IMAGE_SIGNATURE_BLOCK_SIGNATURE_SIZE);
  WriteMaterial("firmware.bin", Blank);
  RunOnMaterial("openssl dgst -sha256 -sign rsa2048.key -out firmware.sig firmware.bin");
  const Bytes Signature = Reversed(Material("firmware.sig"));
  std::copy(Signature.begin(), Signature.end(), Image.begin() + At);
  mModulus = Reversed(RsaComponents("rsa2048")[RsaKeyN]);
}

// The same one for both kinds of work while either lives.
std::shared_ptr<SIGNED_IMAGE> SharedImage(UINTN Size, UINTN RegionSize) {
  static std::weak_ptr<SIGNED_IMAGE> Last;
  std::shared_ptr<SIGNED_IMAGE> Signed = Last.lock();
  if (!Signed) {
    Signed = std::make_shared<SIGNED_IMAGE>(Size, RegionSize);
    Last = Signed;
  }
  return Signed;
}

template <UINTN REGION_SIZE> STEP Bare(UINTN Size) {
  return [Signed = SharedImage(Size, REGION_SIZE)] {
    UINT8 Digest[CRYPTO_SERVICES_SHA256_DIGEST_SIZE];
    BareSha256(Signed->Image.data(), Signed->Image.size(), Digest);
    return true;
  };
}

template <UINTN REGION_SIZE> STEP Check(const BOOTED &, UINTN Size) {
  return [Signed = SharedImage(Size, REGION_SIZE)] {
    return VerifyImageWithKeysOf(LookUp, Signed->Image.data(), Signed->Image.size(), TRUE) == EFI_SUCCESS;
  };
}

constexpr WORK Row(const char *Name, std::span<const UINTN> Sizes, double Aim, STEP (*Bare)(UINTN),
                   STEP (*Driver)(const BOOTED &, UINTN)) {
  return {"Firmware image", Name, UNIT::Bytes, Sizes, Aim, Bare, Driver, PROCESSOR::Native, false, true};
}

constexpr UINTN mSmall[] = {1 << 20};
constexpr UINTN mLarge[] = {16 << 20, 64 << 20};
constexpr const char *mUsual = "Inner check of slot 4, 8 KiB left out";

// In times of the SHA-256 pass: at most 1.05 for 1 MiB, 1.01 for the larger ones.
constexpr WORK mWorks[] = {
    Row(mUsual, mSmall, 1 / 1.05, Bare<0x1000>, Check<0x1000>),
    Row(mUsual, mLarge, 1 / 1.01, Bare<0x1000>, Check<0x1000>),
    Row("Inner check of slot 4, 68 KiB left out", mSmall, 0, Bare<0x10000>, Check<0x10000>),
};

} // namespace

std::span<const WORK> ImageWorks() {
  return mWorks;
}
