// What the unit tests share: the linked driver, booted, and the driver's C
// runtime under the names it has beside the host's.
#pragma once

#include "tests/support/DriverTest.h"

#include <openssl/bio.h>

class InternalsTest : public DriverTest {
protected:
  InternalsTest() {
    Options.Image.reset();
    LibraryKeepsBlocks = true;
  }
  void SetUp() override { ASSERT_EQ(Session().Outcome(), BootOutcome::Started) << Session().Problem(); }
};

struct CrtTm {
  int Second, Minute, Hour, MonthDay, Month, Year, WeekDay, YearDay, Daylight;
};

extern "C" {
VOID *Crt_malloc(UINTN Size);
VOID *Crt_realloc(VOID *Block, UINTN Size);
void Crt_free(VOID *Block);
INT32 Crt_time(INT32 *Place);
CrtTm *Crt_gmtime(const INT32 *Place);
void Crt_qsort(VOID *Base, UINTN Count, UINTN Width, int (*Compare)(const VOID *, const VOID *));
UINT64 Crt_atoi(const CHAR8 *Text);
int Crt_strcmp(const CHAR8 *First, const CHAR8 *Second);
int Crt_strncmp(const CHAR8 *First, const CHAR8 *Second, UINTN Count);
UINTN Crt_strlen(const CHAR8 *Text);
UINTN Crt_strspn(const CHAR8 *Text, const CHAR8 *Accepted);
UINTN Crt_strcspn(const CHAR8 *Text, const CHAR8 *Refused);
CHAR8 *Crt_strchr(const CHAR8 *Text, int Character);
CHAR8 *Crt_strrchr(const CHAR8 *Text, int Character);
CHAR8 *Crt_strstr(const CHAR8 *Text, const CHAR8 *Part);
CHAR8 *Crt_strpbrk(const CHAR8 *Text, const CHAR8 *Accepted);
EFI_STATUS Crt_strncpy(CHAR8 *Destination, const CHAR8 *Source, UINTN Count);
EFI_STATUS Crt_strcat(CHAR8 *Destination, const CHAR8 *Source);
VOID *Crt_memcpy(VOID *Destination, const VOID *Source, UINTN Count);
VOID *Crt_memmove(VOID *Destination, const VOID *Source, UINTN Count);
VOID *Crt_memset(VOID *Block, int Value, UINTN Count);
int Crt_memcmp(const VOID *First, const VOID *Second, UINTN Count);
VOID *Crt_memchr(const VOID *Block, int Value, UINTN Count);
CHAR8 *Crt_strdup(const CHAR8 *Text);
CHAR8 *Crt_strerror(int Number);
CHAR8 *Crt_getenv(const CHAR8 *Name);
INT64 Crt_strtol(const CHAR8 *Text, CHAR8 **End, int Base);
UINT64 Crt_strtoul(const CHAR8 *Text, CHAR8 **End, int Base);
int Crt_isspace(int Character);
int Crt_isdigit(int Character);
int Crt_tolower(int Character);
int Crt_stat(const CHAR8 *Path, VOID *Status);
int Crt_gettimeofday(VOID *Now, VOID *Zone);
void Crt_abort();
int Crt_sscanf(const CHAR8 *Text, const CHAR8 *Format, ...);
int CRYPTO_THREAD_init_local(unsigned int *Key, void (*Cleanup)(VOID *));
int CRYPTO_THREAD_set_local(unsigned int *Key, VOID *Data);
VOID *CRYPTO_THREAD_get_local(unsigned int *Key);
int CRYPTO_THREAD_cleanup_local(unsigned int *Key);
}
