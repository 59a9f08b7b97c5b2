// The 62 slots in their order, and their publication.
#include "driver/core/ServiceTable.h"

#include "driver/cipher/Aes.h"
#include "driver/cipher/AesLayered.h"
#include "driver/cipher/Tdes.h"
#include "driver/core/DriverContext.h"
#include "driver/digest/HashAll.h"
#include "driver/digest/Hmac.h"
#include "driver/digest/HmacSha1.h"
#include "driver/digest/Sha1.h"
#include "driver/digest/Sha256.h"
#include "driver/encoding/Base64.h"
#include "driver/encoding/Pbkdf2.h"
#include "driver/encoding/Random.h"
#include "driver/encoding/RandomFill.h"
#include "driver/policy/PolicyEvents.h"
#include "driver/pubkey/Authenticode.h"
#include "driver/pubkey/Dh.h"
#include "driver/pubkey/Pem.h"
#include "driver/pubkey/Pkcs7Signers.h"
#include "driver/pubkey/Pkcs7Verify.h"
#include "driver/pubkey/Rsa.h"
#include "driver/pubkey/RsaRawKey.h"
#include "driver/pubkey/X509.h"
#include "driver/trust/DataList.h"
#include "driver/trust/FirmwareImage.h"

constexpr CRYPTO_SERVICES_PROTOCOL mServiceTable = {
    .SvcVerifyBufferWithBuiltinKeys = SvcVerifyBufferWithBuiltinKeys,
    .SvcVerifyDataListWithKey = SvcVerifyDataListWithKey,
    .SvcHashAll = SvcHashAll,
    .SvcVerifyDataListWithBuiltinKeys = SvcVerifyDataListWithBuiltinKeys,
    .SvcVerifyFirmwareImage = SvcVerifyFirmwareImage,
    .SvcReportPolicyEvent = SvcReportPolicyEvent,
    .SvcSha256GetContextSize = SvcSha256GetContextSize,
    .SvcSha256Init = SvcSha256Init,
    .SvcSha256Update = SvcSha256Update,
    .SvcSha256Final = SvcSha256Final,
    .SvcSha1GetContextSize = SvcSha1GetContextSize,
    .SvcSha1Init = SvcSha1Init,
    .SvcSha1Update = SvcSha1Update,
    .SvcSha1Final = SvcSha1Final,
    .SvcHmacSha1GetContextSize = SvcHmacSha1GetContextSize,
    .SvcHmacSha1Init = SvcHmacSha1Init,
    .SvcHmacSha1Update = SvcHmacSha1Update,
    .SvcHmacSha1Final = SvcHmacSha1Final,
    .SvcTdesGetContextSize = SvcTdesGetContextSize,
    .SvcTdesInit = SvcTdesInit,
    .SvcTdesCbcEncrypt = SvcTdesCbcEncrypt,
    .SvcTdesCbcDecrypt = SvcTdesCbcDecrypt,
    .SvcRsaNew = SvcRsaNew,
    .SvcRsaGetKey = SvcRsaGetKey,
    .SvcRsaSetKey = SvcRsaSetKey,
    .SvcRsaPkcs1Sign = SvcRsaPkcs1Sign,
    .SvcRsaPkcs1Verify = SvcRsaPkcs1Verify,
    .SvcRsaGetPrivateKeyFromPem = SvcRsaGetPrivateKeyFromPem,
    .SvcRsaGetPublicKeyFromX509 = SvcRsaGetPublicKeyFromX509,
    .SvcX509GetSubjectName = SvcX509GetSubjectName,
    .SvcX509VerifyCert = SvcX509VerifyCert,
    .SvcRsaFree = SvcRsaFree,
    .SvcPkcs7GetSigners = SvcPkcs7GetSigners,
    .SvcPkcs7Verify = SvcPkcs7Verify,
    .SvcPkcs7FreeSigners = SvcPkcs7FreeSigners,
    .SvcAesGetContextSize = SvcAesGetContextSize,
    .SvcAesInit = SvcAesInit,
    .SvcAesCbcEncrypt = SvcAesCbcEncrypt,
    .SvcAesCbcDecrypt = SvcAesCbcDecrypt,
    .SvcAesEcbEncrypt = SvcAesEcbEncrypt,
    .SvcAesEcbDecrypt = SvcAesEcbDecrypt,
    .SvcDhNew = SvcDhNew,
    .SvcDhGenerateParameter = SvcDhGenerateParameter,
    .SvcDhGenerateKey = SvcDhGenerateKey,
    .SvcDhComputeKey = SvcDhComputeKey,
    .SvcDhFree = SvcDhFree,
    .SvcRandomSeed = SvcRandomSeed,
    .SvcRandomBytes = SvcRandomBytes,
    .SvcAuthenticodeVerify = SvcAuthenticodeVerify,
    .SvcPbkdf2HmacSha1 = SvcPbkdf2HmacSha1,
    .SvcRandomFillClockSeeded = SvcRandomFillClockSeeded,
    .SvcAesLayeredTransform = SvcAesLayeredTransform,
    .SvcHmacCompute = SvcHmacCompute,
    .SvcHmacVerify = SvcHmacVerify,
    .SvcBase64EncodeToUnicode = SvcBase64EncodeToUnicode,
    .SvcBase64EncodeToAscii = SvcBase64EncodeToAscii,
    .SvcBase64DecodeUnicode = SvcBase64DecodeUnicode,
    .SvcBase64DecodeUnicodeAuto = SvcBase64DecodeUnicodeAuto,
    .SvcBase64DecodeAscii = SvcBase64DecodeAscii,
    .SvcBase64DecodeAsciiAuto = SvcBase64DecodeAsciiAuto,
    .SvcRsaPublicEncrypt = SvcRsaPublicEncrypt,
    .SvcRsaPrivateDecrypt = SvcRsaPrivateDecrypt,
};

EFI_STATUS InstallServiceTable() {
  EFI_HANDLE Handle = nullptr;
  return DriverContext.BootServices->InstallMultipleProtocolInterfaces(&Handle, &mCryptoServicesProtocolGuid,
                                                                       &mServiceTable, nullptr);
}
