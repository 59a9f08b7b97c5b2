// A consumer in C11 with an integrator's types, spelled in other ways than the protocol's header spells them:
// it must take every one of them as it is. Compiles only.
#define VOID void
#define TRUE 1
#define FALSE 0
#define EFIAPI __attribute__((ms_abi))

typedef signed int INT32;
typedef unsigned char UINT8;
typedef unsigned short UINT16;
typedef unsigned int UINT32;
typedef unsigned long long UINTN;
typedef unsigned char BOOLEAN;
typedef char CHAR8;
typedef unsigned short CHAR16;
typedef UINTN EFI_STATUS;

struct IntegratorGuid {
  UINT32 Data1;
  UINT16 Data2;
  UINT16 Data3;
  UINT8 Data4[8];
};
typedef struct IntegratorGuid EFI_GUID;

#define INTEGRATOR_ERROR(Code) (0x8000000000000000ULL | (Code))
#define EFI_SUCCESS 0
#define EFI_LOAD_ERROR INTEGRATOR_ERROR(1)
#define EFI_INVALID_PARAMETER INTEGRATOR_ERROR(2)
#define EFI_UNSUPPORTED INTEGRATOR_ERROR(3)
#define EFI_BAD_BUFFER_SIZE INTEGRATOR_ERROR(4)
#define EFI_BUFFER_TOO_SMALL INTEGRATOR_ERROR(5)
#define EFI_NOT_READY INTEGRATOR_ERROR(6)
#define EFI_DEVICE_ERROR INTEGRATOR_ERROR(7)
#define EFI_OUT_OF_RESOURCES INTEGRATOR_ERROR(9)
#define EFI_NOT_FOUND INTEGRATOR_ERROR(14)
#define EFI_ACCESS_DENIED INTEGRATOR_ERROR(15)
#define EFI_NOT_STARTED INTEGRATOR_ERROR(19)
#define EFI_SECURITY_VIOLATION INTEGRATOR_ERROR(26)

#define CRYPTO_SERVICES_PLATFORM_TYPES
#include "CryptoServicesProtocol.h"

#include "tests/layout/ProtocolChecks.h"

const EFI_GUID mPlatformTypesGuid = CRYPTO_SERVICES_PROTOCOL_GUID;
