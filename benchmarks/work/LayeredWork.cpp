// The layered transform beside a plain model: the same passes, reversals, cleared and wiped buffers, with the
// library's CBC mode inside.
#include "benchmarks/work/Work.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include <openssl/aes.h>
#include <openssl/evp.h>

namespace {

constexpr UINT8 mKey[32] = {9, 8, 7};
constexpr UINT8 mZero[16] = {};
constexpr int mPasses = 3;

// A cleared block that is wiped before it goes.
class WipedBlock {
public:
  explicit WipedBlock(UINTN Size) : Content_(Size) {}
  ~WipedBlock() {
    std::memset(Content_.data(), 0, Content_.size());
    asm volatile("" : : "r"(Content_.data()) : "memory");
  }
  UINT8 *Get() { return Content_.data(); }

private:
  Bytes Content_;
};

// Size is a multiple of 8.
void Reverse(UINT8 *Buffer, UINTN Size) {
  auto *Words = reinterpret_cast<UINT64 *>(Buffer);
  std::reverse(Words, Words + Size / 8);
  std::transform(Words, Words + Size / 8, Words, [](UINT64 Word) { return __builtin_bswap64(Word); });
}

bool Pass(EVP_CIPHER_CTX *Context, const UINT8 *Vector, UINT8 *Buffer, UINTN Size) {
  WipedBlock Plain(Size);
  int Written = 0;
  if (EVP_CipherInit_ex(Context, nullptr, nullptr, nullptr, Vector, -1) != 1 ||
      EVP_CipherUpdate(Context, Plain.Get(), &Written, Buffer, static_cast<int>(Size)) != 1) {
    return false;
  }
  std::memcpy(Buffer, Plain.Get(), Size);
  return true;
}

STEP Bare(UINTN Size) {
  std::shared_ptr<EVP_CIPHER_CTX> Context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  return [Context, Size] {
    AES_KEY Key;
    UINT8 Vector[16];
    if (AES_set_encrypt_key(mKey, 256, &Key) != 0 ||
        EVP_CipherInit_ex(Context.get(), EVP_aes_256_cbc(), nullptr, mKey, mZero, 0) != 1 ||
        EVP_CIPHER_CTX_set_padding(Context.get(), 0) != 1) {
      return false;
    }
    AES_encrypt(mZero, Vector, &Key);
    WipedBlock Buffer(Size);
    std::memcpy(Buffer.Get(), InputBuffer(), Size);
    for (int Count = 0; Count < mPasses; ++Count) {
      if (Count != 0) {
        Reverse(Buffer.Get(), Size);
      }
      if (!Pass(Context.get(), Vector, Buffer.Get(), Size)) {
        return false;
      }
    }
    std::memcpy(OutputBuffer(), Buffer.Get(), Size);
    return true;
  };
}

STEP Layered(const BOOTED &Driver, UINTN Size) {
  return [&Services = Driver.Services, Size] {
    return Services.SvcAesLayeredTransform(OutputBuffer(), InputBuffer(), Size, mKey, 256) == EFI_SUCCESS;
  };
}

constexpr WORK mWorks[] = {
    {"Layered AES transform", "slot 51, beside a plain model", UNIT::Bytes, mDataSizes, 1.0, Bare, Layered},
};

} // namespace

std::span<const WORK> LayeredWorks() {
  return mWorks;
}
