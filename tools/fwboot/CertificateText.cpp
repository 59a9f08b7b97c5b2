// Names are shown attribute by attribute in the order of the encoding.
#include "tools/fwboot/CertificateText.h"

#include <map>

#include <fmt/format.h>

#include "tools/fwboot/Wording.h"
#include "tools/pe/DerReader.h"
#include "tools/session/StatusNames.h"

namespace {

constexpr UINT8 mInteger = 0x02;
constexpr UINT8 mObjectIdentifier = 0x06;
constexpr UINT8 mUtcTime = 0x17;
constexpr UINT8 mBmpString = 0x1E;
constexpr UINT8 mSequence = 0x30;
constexpr UINT8 mSet = 0x31;
constexpr UINT8 mVersion = 0xA0;

// The attribute types that certificates commonly carry (RFC 5280, appendix A.1).
const std::map<std::string, const char *> mAttributes = {
    {"2.5.4.3", "CN"},
    {"2.5.4.5", "serialNumber"},
    {"2.5.4.6", "C"},
    {"2.5.4.7", "L"},
    {"2.5.4.8", "ST"},
    {"2.5.4.9", "street"},
    {"2.5.4.10", "O"},
    {"2.5.4.11", "OU"},
    {"0.9.2342.19200300.100.1.25", "DC"},
    {"1.2.840.113549.1.9.1", "emailAddress"},
};

std::string OidText(DerBytes Content) {
  std::string Text;
  UINT64 Arc = 0;
  for (const UINT8 Byte : Content) {
    Arc = Arc << 7 | (Byte & 0x7F);
    if ((Byte & 0x80) == 0) {
      if (Text.empty()) {
        const UINT64 First = Arc < 80 ? Arc / 40 : 2;
        Text = std::to_string(First) + "." + std::to_string(Arc - First * 40);
      } else {
        Text += "." + std::to_string(Arc);
      }
      Arc = 0;
    }
  }
  return Text;
}

void AppendUtf8(std::string &Text, UINT32 Character) {
  if (Character < 0x80) {
    Text += static_cast<char>(Character);
  } else if (Character < 0x800) {
    Text += static_cast<char>(0xC0 | Character >> 6);
    Text += static_cast<char>(0x80 | (Character & 0x3F));
  } else {
    Text += static_cast<char>(0xE0 | Character >> 12);
    Text += static_cast<char>(0x80 | (Character >> 6 & 0x3F));
    Text += static_cast<char>(0x80 | (Character & 0x3F));
  }
}

std::string StringText(const DerElement &Value) {
  std::string Text;
  if (Value.Tag == mBmpString) {
    for (size_t Place = 0; Place + 1 < Value.Content.size(); Place += 2) {
      AppendUtf8(Text, static_cast<UINT32>(Value.Content[Place] << 8 | Value.Content[Place + 1]));
    }
  } else {
    Text.assign(Value.Content.begin(), Value.Content.end());
  }
  return PlainText(Text);
}

std::string NameText(DerBytes Encoding) {
  std::string Text;
  for (DerReader Name = DerReader(Encoding).Enter(mSequence); !Name.AtEnd();) {
    for (DerReader Attributes = Name.Enter(mSet); !Attributes.AtEnd();) {
      DerReader Attribute = Attributes.Enter(mSequence);
      const std::string Type = OidText(Attribute.Next(mObjectIdentifier).Content);
      const auto Known = mAttributes.find(Type);
      Text += (Text.empty() ? "" : ", ") + (Known != mAttributes.end() ? Known->second : Type) + "=" +
              StringText(Attribute.Next());
    }
  }
  return Text;
}

// YYYYMMDDhhmmss; a UTCTime's years are 1950 to 2049 (RFC 5280, section 4.1.2.5).
std::string TimeText(const DerElement &Value) {
  std::string Text(Value.Content.begin(), Value.Content.end());
  if (Value.Tag == mUtcTime) {
    Text = (Text < "50" ? "20" : "19") + Text;
  }
  if (Text.size() != 15 || Text.back() != 'Z' || Text.find_first_not_of("0123456789") != 14) {
    throw DerError();
  }
  Text.pop_back();
  return Text;
}

void ReadCertificateFields(const std::vector<UINT8> &Certificate, CertificateText &Result) {
  DerReader Signed = DerReader(Certificate).Enter(mSequence).Enter(mSequence);
  if (Signed.Sees(mVersion)) {
    Signed.Next();
  }
  Signed.Next(mInteger);
  Signed.Next(mSequence);
  Result.Issuer = NameText(Signed.Next(mSequence).Whole);
  DerReader Validity = Signed.Enter(mSequence);
  Result.NotBefore = TimeText(Validity.Next());
  Result.NotAfter = TimeText(Validity.Next());
}

std::string Spaced(const std::string &Time) {
  const std::string_view Part = Time;
  return fmt::format("{}-{}-{} {}:{}:{}", Part.substr(0, 4), Part.substr(4, 2), Part.substr(6, 2),
                     Part.substr(8, 2), Part.substr(10, 2), Part.substr(12, 2));
}

std::vector<UINT8> Component(const CRYPTO_SERVICES_PROTOCOL &Services, VOID *Context, RSA_KEY_TAG Tag) {
  UINTN Size = 0;
  Services.SvcRsaGetKey(Context, Tag, nullptr, &Size);
  std::vector<UINT8> Value(Size);
  Services.SvcRsaGetKey(Context, Tag, Value.data(), &Size);
  return Value;
}

} // namespace

std::string CertificateText::Validity() const {
  return NotBefore.empty() ? "unknown" : Spaced(NotBefore) + " to " + Spaced(NotAfter);
}

std::optional<CertificateText> DescribeCertificate(const CRYPTO_SERVICES_PROTOCOL &Services,
                                                   const std::vector<UINT8> &Certificate) {
  UINTN Size = 0;
  Services.SvcX509GetSubjectName(Certificate.data(), Certificate.size(), nullptr, &Size);
  std::vector<UINT8> Name(Size);
  if (!Services.SvcX509GetSubjectName(Certificate.data(), Certificate.size(), Name.data(), &Size)) {
    return std::nullopt;
  }
  CertificateText Result;
  try {
    Result.Subject = NameText(Name);
    ReadCertificateFields(Certificate, Result);
  } catch (const DerError &) {
    // What the driver takes and this reader does not stays unknown.
  }
  return Result;
}

std::string KeyText(const CRYPTO_SERVICES_PROTOCOL &Services, VOID *Context) {
  const std::vector<UINT8> Modulus = Component(Services, Context, RsaKeyN);
  UINTN Bits = Modulus.size() * 8;
  for (UINT8 Top = Modulus.empty() ? 0xFF : Modulus[0]; (Top & 0x80) == 0;
       Top = static_cast<UINT8>(Top << 1)) {
    --Bits;
  }
  const std::vector<UINT8> Exponent = Component(Services, Context, RsaKeyE);
  UINT64 Value = 0;
  for (const UINT8 Byte : Exponent) {
    Value = Value << 8 | Byte;
  }
  return fmt::format("RSA, {} bits, exponent {}", Grouped(Bits),
                     Exponent.size() <= 8 ? Grouped(Value) : fmt::format("of {} bytes", Exponent.size()));
}

std::string DigestText(const CRYPTO_SERVICES_PROTOCOL &Services, HASH_TYPE Type,
                       const std::vector<UINT8> &Data) {
  UINT8 Digest[CRYPTO_SERVICES_SHA256_DIGEST_SIZE];
  UINTN Size = sizeof(Digest);
  const EFI_STATUS Status = Services.SvcHashAll(Type, Data.data(), Data.size(), Digest, &Size);
  return Status == EFI_SUCCESS ? fmt::format("{:02x}", fmt::join(Digest, Digest + Size, ""))
                               : "SvcHashAll answers " + StatusName(Status);
}

std::string PlainText(const std::string &Text) {
  std::string Plain;
  for (size_t Place = 0; Place < Text.size();) {
    const auto First = static_cast<unsigned char>(Text[Place]);
    const size_t Length = First < 0x80                    ? 1
                          : First >= 0xC2 && First < 0xE0 ? 2
                          : First >= 0xE0 && First < 0xF0 ? 3
                                                          : 0;
    bool Whole = Length != 0 && Place + Length <= Text.size() && First >= 0x20 && First != 0x7F;
    for (size_t Index = 1; Whole && Index < Length; ++Index) {
      Whole = (static_cast<unsigned char>(Text[Place + Index]) & 0xC0) == 0x80;
    }
    // U+0080 to U+009F are control characters as well.
    Whole = Whole && !(First == 0xC2 && static_cast<unsigned char>(Text[Place + 1]) < 0xA0);
    Plain += Whole ? Text.substr(Place, Length) : "?";
    Place += Whole ? Length : 1;
  }
  return Plain;
}
