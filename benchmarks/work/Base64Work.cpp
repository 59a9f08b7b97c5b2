// Text in lines of 64 characters, both ways, beside the library's filter; a size counts the bytes of data.
#include "benchmarks/work/Work.h"

#include <cstring>
#include <memory>

#include <openssl/bio.h>
#include <openssl/evp.h>

namespace {

// The filter over Memory, released with it.
std::shared_ptr<BIO> Chain(BIO *Memory) {
  return std::shared_ptr<BIO>(BIO_push(BIO_new(BIO_f_base64()), Memory), BIO_free_all);
}

STEP BareEncode(UINTN Size) {
  return [Size] {
    const auto Filter = Chain(BIO_new(BIO_s_mem()));
    char *Text = nullptr;
    if (BIO_write(Filter.get(), InputBuffer(), static_cast<int>(Size)) != static_cast<int>(Size) ||
        BIO_flush(Filter.get()) != 1 || BIO_get_mem_data(Filter.get(), &Text) <= 0) {
      return false;
    }
    std::memcpy(OutputBuffer(), Text, 64);
    return true;
  };
}

// What decoding takes, made by the code above.
Bytes TextOf(UINTN Size) {
  const auto Filter = Chain(BIO_new(BIO_s_mem()));
  char *Text = nullptr;
  BIO_write(Filter.get(), InputBuffer(), static_cast<int>(Size));
  (void)BIO_flush(Filter.get());
  const auto Length = BIO_get_mem_data(Filter.get(), &Text);
  return Bytes(Text, Text + Length);
}

STEP BareDecode(UINTN Size) {
  return [Size, Text = TextOf(Size)] {
    const auto Filter = Chain(BIO_new_mem_buf(Text.data(), static_cast<int>(Text.size())));
    UINTN Total = 0;
    for (int Count; (Count = BIO_read(Filter.get(), OutputBuffer() + Total, 2048)) > 0;) {
      Total += static_cast<UINTN>(Count);
    }
    return Total == Size;
  };
}

// The text through the driver, in characters of either width.
template <typename CHARACTER> std::vector<CHARACTER> DriverText(const BOOTED &Driver, UINTN Size) {
  CHAR8 *Text = nullptr;
  UINTN Length = 0;
  if (Driver.Services.SvcBase64EncodeToAscii(FALSE, FALSE, InputBuffer(), Size, &Text, &Length) !=
      EFI_SUCCESS) {
    return {};
  }
  std::vector<CHARACTER> Result(Text, Text + Length);
  Driver.Boot.FreePool(Text);
  return Result;
}

template <auto SERVICE, typename CHARACTER> STEP Encode(const BOOTED &Driver, UINTN Size) {
  return [Driver, Size] {
    CHARACTER *Text = nullptr;
    UINTN Length = 0;
    if ((Driver.Services.*SERVICE)(FALSE, FALSE, InputBuffer(), Size, &Text, &Length) != EFI_SUCCESS) {
      return false;
    }
    std::copy_n(Text, 64, OutputBuffer());
    Driver.Boot.FreePool(Text);
    return true;
  };
}

// Copies the start of a decoded block out and releases it.
bool Take(const BOOTED &Driver, EFI_STATUS Status, UINT8 *Data, UINTN DataSize, UINTN Size) {
  if (Status != EFI_SUCCESS) {
    return false;
  }
  std::memcpy(OutputBuffer(), Data, 64);
  Driver.Boot.FreePool(Data);
  return DataSize == Size;
}

template <auto SERVICE, typename CHARACTER> STEP Decode(const BOOTED &Driver, UINTN Size) {
  return [Driver, Size, Text = DriverText<CHARACTER>(Driver, Size)]() mutable {
    UINT8 *Data = nullptr;
    UINTN DataSize = 0;
    const EFI_STATUS Status =
        (Driver.Services.*SERVICE)(FALSE, FALSE, Text.data(), Text.size(), &Data, &DataSize);
    return Take(Driver, Status, Data, DataSize, Size);
  };
}

template <auto SERVICE, typename CHARACTER> STEP DecodeAuto(const BOOTED &Driver, UINTN Size) {
  return [Driver, Size, Text = DriverText<CHARACTER>(Driver, Size)]() mutable {
    UINT8 *Data = nullptr;
    UINTN DataSize = 0;
    const EFI_STATUS Status = (Driver.Services.*SERVICE)(Text.data(), Text.size(), &Data, &DataSize);
    return Take(Driver, Status, Data, DataSize, Size);
  };
}

using TABLE = CRYPTO_SERVICES_PROTOCOL;

constexpr WORK Row(const char *Name, STEP (*Bare)(UINTN), STEP (*Driver)(const BOOTED &, UINTN)) {
  return {"Base64", Name, UNIT::Bytes, mDataSizes, 0, Bare, Driver};
}

constexpr WORK mWorks[] = {
    Row("To CHAR16, slot 54", BareEncode, Encode<&TABLE::SvcBase64EncodeToUnicode, CHAR16>),
    Row("To CHAR8, slot 55", BareEncode, Encode<&TABLE::SvcBase64EncodeToAscii, CHAR8>),
    Row("From CHAR16, slot 56", BareDecode, Decode<&TABLE::SvcBase64DecodeUnicode, CHAR16>),
    Row("From CHAR16, slot 57", BareDecode, DecodeAuto<&TABLE::SvcBase64DecodeUnicodeAuto, CHAR16>),
    Row("From CHAR8, slot 58", BareDecode, Decode<&TABLE::SvcBase64DecodeAscii, CHAR8>),
    Row("From CHAR8, slot 59", BareDecode, DecodeAuto<&TABLE::SvcBase64DecodeAsciiAuto, CHAR8>),
};

} // namespace

std::span<const WORK> Base64Works() {
  return mWorks;
}
