// One table, read in both directions.
#include "tools/session/StatusNames.h"

#include <cstdio>

namespace {

struct STATUS_NAME {
  EFI_STATUS Status;
  const char *Name;
};

#define STATUS_ROW(Name)                                                                                     \
  { Name, #Name }

constexpr STATUS_NAME mStatusNames[] = {STATUS_ROW(EFI_SUCCESS),
                                        STATUS_ROW(EFI_LOAD_ERROR),
                                        STATUS_ROW(EFI_INVALID_PARAMETER),
                                        STATUS_ROW(EFI_UNSUPPORTED),
                                        STATUS_ROW(EFI_BAD_BUFFER_SIZE),
                                        STATUS_ROW(EFI_BUFFER_TOO_SMALL),
                                        STATUS_ROW(EFI_NOT_READY),
                                        STATUS_ROW(EFI_DEVICE_ERROR),
                                        STATUS_ROW(EFI_WRITE_PROTECTED),
                                        STATUS_ROW(EFI_OUT_OF_RESOURCES),
                                        STATUS_ROW(EFI_VOLUME_CORRUPTED),
                                        STATUS_ROW(EFI_VOLUME_FULL),
                                        STATUS_ROW(EFI_NO_MEDIA),
                                        STATUS_ROW(EFI_MEDIA_CHANGED),
                                        STATUS_ROW(EFI_NOT_FOUND),
                                        STATUS_ROW(EFI_ACCESS_DENIED),
                                        STATUS_ROW(EFI_NO_RESPONSE),
                                        STATUS_ROW(EFI_NO_MAPPING),
                                        STATUS_ROW(EFI_TIMEOUT),
                                        STATUS_ROW(EFI_NOT_STARTED),
                                        STATUS_ROW(EFI_ALREADY_STARTED),
                                        STATUS_ROW(EFI_ABORTED),
                                        STATUS_ROW(EFI_PROTOCOL_ERROR),
                                        STATUS_ROW(EFI_INCOMPATIBLE_VERSION),
                                        STATUS_ROW(EFI_SECURITY_VIOLATION),
                                        STATUS_ROW(EFI_CRC_ERROR),
                                        STATUS_ROW(EFI_END_OF_FILE),
                                        STATUS_ROW(EFI_COMPROMISED_DATA)};

} // namespace

std::string StatusName(EFI_STATUS Status) {
  for (const STATUS_NAME &Row : mStatusNames) {
    if (Row.Status == Status) {
      return Row.Name;
    }
  }
  char Text[40];
  std::snprintf(Text, sizeof(Text), "EFI_STATUS 0x%llX", static_cast<unsigned long long>(Status));
  return Text;
}

std::optional<EFI_STATUS> StatusOfName(std::string_view Name) {
  for (const STATUS_NAME &Row : mStatusNames) {
    if (Name == Row.Name) {
      return Row.Status;
    }
  }
  return std::nullopt;
}
