// One table over the platform's headers.
#include "tools/fwboot/GuidNames.h"

#include "simulator/Guids.h"
#include "uefi/DisplayReadyProtocol.h"
#include "uefi/EventGroups.h"
#include "uefi/GlobalVariable.h"
#include "uefi/HiiDatabase.h"
#include "uefi/HiiString.h"
#include "uefi/ImageLayoutProtocol.h"
#include "uefi/MessageDialogProtocol.h"
#include "uefi/PolicyCheckWaiverProtocol.h"
#include "uefi/PrivChannelReadyProtocol.h"
#include "uefi/SmmCommunication.h"
#include "uefi/ValidationPolicyProtocol.h"

#include "CryptoServicesProtocol.h"

namespace {

struct GUID_NAME {
  EFI_GUID Guid;
  const char *Name;
};

constexpr GUID_NAME mGuidNames[] = {
    {mCryptoServicesProtocolGuid, "CRYPTO_SERVICES_PROTOCOL"},
    {mDisplayReadyProtocolGuid, "DISPLAY_READY_PROTOCOL"},
    {mEfiEventGroupReadyToBootGuid, "EFI_EVENT_GROUP_READY_TO_BOOT"},
    {mEfiGlobalVariableGuid, "EFI_GLOBAL_VARIABLE"},
    {mEfiHiiDatabaseProtocolGuid, "EFI_HII_DATABASE_PROTOCOL"},
    {mEfiHiiStringProtocolGuid, "EFI_HII_STRING_PROTOCOL"},
    {mEfiSmmCommunicationProtocolGuid, "EFI_SMM_COMMUNICATION_PROTOCOL"},
    {mImageLayoutProtocolGuid, "IMAGE_LAYOUT_PROTOCOL"},
    {mMessageDialogProtocolGuid, "MESSAGE_DIALOG_PROTOCOL"},
    {mPolicyCheckWaiverProtocolGuid, "POLICY_CHECK_WAIVER_PROTOCOL"},
    {mPrivChannelReadyProtocolGuid, "PRIV_CHANNEL_READY_PROTOCOL"},
    {mValidationPolicyProtocolGuid, "VALIDATION_POLICY_PROTOCOL"},
};

} // namespace

std::string GuidName(const EFI_GUID &Guid) {
  for (const GUID_NAME &Row : mGuidNames) {
    if (SameGuid(Row.Guid, Guid)) {
      return Row.Name;
    }
  }
  return GuidText(Guid);
}
