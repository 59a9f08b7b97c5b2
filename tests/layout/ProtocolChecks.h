// The checks of CRYPTO_SERVICES_PROTOCOL that every language and every set of base types must pass. Includes
// nothing: the including file has chosen the types and included the protocol's header before.
#pragma once

#include <stddef.h>

#ifdef __cplusplus
#define CHECK(Condition, Text) static_assert(Condition, Text)
template <typename A, typename B> struct TypePair { static constexpr bool Same = false; };
template <typename A> struct TypePair<A, A> { static constexpr bool Same = true; };
#define MEMBER_HAS_TYPE(Member, Result, Arguments)                                                           \
  TypePair<decltype(CRYPTO_SERVICES_PROTOCOL::Member), Result(EFIAPI *) Arguments>::Same
#else
#define CHECK(Condition, Text) _Static_assert(Condition, Text)
#define MEMBER_HAS_TYPE(Member, Result, Arguments)                                                           \
  _Generic(((CRYPTO_SERVICES_PROTOCOL *)0)->Member, Result(EFIAPI *) Arguments : 1, default : 0)
#endif

#define SLOT(Number, Name, Result, Arguments)                                                                \
  CHECK(offsetof(CRYPTO_SERVICES_PROTOCOL, Name) == Number * 8, "slot of " #Name);                           \
  CHECK(MEMBER_HAS_TYPE(Name, Result, Arguments), "arguments of " #Name);
#include "tests/layout/SlotNames.def"
#undef SLOT

#define SLOT(Number, Name, Result, Arguments) +1
enum {
  ListedSlots =
#include "tests/layout/SlotNames.def"
};
#undef SLOT

CHECK((int)ListedSlots == CRYPTO_SERVICES_SLOT_COUNT, "the list names every slot");
CHECK(sizeof(CRYPTO_SERVICES_PROTOCOL) == 496, "62 pointers and nothing else");
CHECK(sizeof(EFI_STATUS) == 8 && sizeof(UINTN) == 8 && sizeof(VOID *) == 8, "64-bit words");
CHECK(sizeof(BOOLEAN) == 1 && sizeof(CHAR8) == 1 && sizeof(CHAR16) == 2, "characters and truth values");
CHECK(sizeof(EFI_GUID) == 16 && offsetof(EFI_GUID, Data4) == 8, "a GUID is 16 bytes");

CHECK(sizeof(HASH_TYPE) == 4 && sizeof(BUILTIN_KEY_TYPE) == 4 && sizeof(RSA_KEY_TAG) == 4, "selectors");
CHECK(HASH_TYPE_SHA1 == 1 && HASH_TYPE_SHA256 == 2 && HASH_TYPE_MD5 == 5, "hash selectors");
CHECK(RsaKeyN == 0 && RsaKeyE == 1 && RsaKeyD == 2 && RsaKeyP == 3, "RSA selectors");
CHECK(RsaKeyQ == 4 && RsaKeyDp == 5 && RsaKeyDq == 6 && RsaKeyQInv == 7, "RSA selectors");
CHECK(sizeof(SIGNER_CERT_LIST) == 1, "a signer list is bytes");
CHECK(IMAGE_SIGNATURE_BLOCK_KEY_SELECT_OFFSET == 0x285, "KeySelect");
CHECK(IMAGE_SIGNATURE_BLOCK_SIGNATURE_OFFSET == 0x578, "Signature");
CHECK(IMAGE_SIGNATURE_BLOCK_SIZE == 0x678, "the block ends with its signature");

CHECK(EFI_SUCCESS == 0 && EFI_LOAD_ERROR == 0x8000000000000001, "status codes");
CHECK(EFI_INVALID_PARAMETER == 0x8000000000000002 && EFI_UNSUPPORTED == 0x8000000000000003, "status codes");
CHECK(EFI_BAD_BUFFER_SIZE == 0x8000000000000004 && EFI_BUFFER_TOO_SMALL == 0x8000000000000005,
      "status codes");
CHECK(EFI_NOT_READY == 0x8000000000000006 && EFI_DEVICE_ERROR == 0x8000000000000007, "status codes");
CHECK(EFI_OUT_OF_RESOURCES == 0x8000000000000009 && EFI_NOT_FOUND == 0x800000000000000E, "status codes");
CHECK(EFI_ACCESS_DENIED == 0x800000000000000F && EFI_NOT_STARTED == 0x8000000000000013, "status codes");
CHECK(EFI_SECURITY_VIOLATION == 0x800000000000001A, "status codes");
