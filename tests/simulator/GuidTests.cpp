// The GUIDs of the platform's and the protocol's headers against their published values. Driver and simulator
// share the headers, so that nothing else would miss a byte.
#include <gtest/gtest.h>

#include "simulator/Guids.h"
#include "uefi/DisplayReadyProtocol.h"
#include "uefi/EventGroups.h"
#include "uefi/GlobalVariable.h"
#include "uefi/HiiDatabase.h"
#include "uefi/HiiString.h"
#include "uefi/Hob.h"
#include "uefi/ImageLayoutProtocol.h"
#include "uefi/MessageDialogProtocol.h"
#include "uefi/PolicyCheckWaiverProtocol.h"
#include "uefi/PolicyViolationRecord.h"
#include "uefi/PrivChannelReadyProtocol.h"
#include "uefi/PrivMessage.h"
#include "uefi/SmmCommunication.h"
#include "uefi/ValidationPolicyProtocol.h"

#include "CryptoServicesProtocol.h"

namespace {

TEST(GuidTest, EveryGuidHasItsPublishedValue) {
  const struct {
    EFI_GUID Guid;
    const char *Text;
  } Rows[] = {
      {mCryptoServicesProtocolGuid, "EBE5F44E-BE74-4A52-96BE-A0B9DF0AD050"},
      {mDisplayReadyProtocolGuid, "DBC9FD21-FAD8-45B0-9E78-27158867CC93"},
      {mImageLayoutProtocolGuid, "07EA86B7-80BC-4002-87BF-82682DE0CF0D"},
      {mMessageDialogProtocolGuid, "B8C7206A-9ADC-4D4B-9B53-CCAF641A565D"},
      {mPolicyCheckWaiverProtocolGuid, "7EC26682-7FBC-4E1B-A2FD-8F9131AFE42E"},
      {mPolicyViolationHobGuid, "5A7F731D-B069-49DE-AB5C-E2721EAB72BF"},
      {mPrivChannelReadyProtocolGuid, "CBFD932A-B0A1-43A4-8945-0604048E674A"},
      {mPrivMessageGuid, "ABC9B31F-5A67-47D1-86F4-56F0EC3ED7D9"},
      {mValidationPolicyProtocolGuid, "2303A642-7CCC-4AC4-BA62-855FD442FD39"},
      // UEFI 2.10, sections 3.3, 7.1, 34.3 and 34.8; PI 1.7, volumes 3 and 4.
      {mEfiGlobalVariableGuid, "8BE4DF61-93CA-11D2-AA0D-00E098032B8C"},
      {mEfiEventGroupReadyToBootGuid, "7CE88FB3-4BD7-4679-87A8-A8D8DEE50D2B"},
      {mEfiHiiStringProtocolGuid, "0FD96974-23AA-4CDC-B9CB-98D17750322A"},
      {mEfiHiiDatabaseProtocolGuid, "EF9FC172-A1B2-4693-B327-6D32FC416042"},
      {mEfiHobListGuid, "7739F24C-93D7-11D4-9A3A-0090273FC14D"},
      {mEfiSmmCommunicationProtocolGuid, "C68ED8E2-9DC6-4CBD-9D94-DB65ACC5C332"},
  };
  for (const auto &Case : Rows) {
    EXPECT_EQ(GuidText(Case.Guid), Case.Text);
  }
}

} // namespace
