// The PEM entry of the service table.
#include "driver/pubkey/Pem.h"

#include "driver/pubkey/MemoryStream.h"
#include "driver/pubkey/PemKey.h"
#include "driver/pubkey/RsaContext.h"

BOOLEAN EFIAPI SvcRsaGetPrivateKeyFromPem(const UINT8 *PemData, UINTN PemSize, const CHAR8 *Password,
                                          VOID **RsaContext) {
  if (PemData == nullptr || RsaContext == nullptr) {
    return FALSE;
  }
  StreamHandle Text = OpenMemoryStream(PemData, PemSize);
  if (!Text) {
    return FALSE;
  }
  RsaKeyHandle Key = ReadPemRsaKey(Text.Get(), Password);
  *RsaContext = Key ? NewRsaContextFrom(Key.Get()) : nullptr;
  return *RsaContext != nullptr;
}
