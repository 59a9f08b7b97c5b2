// The C runtime under the crypto library: clock, sorting, text and memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <numeric>
#include <random>

#include "tests/units/Internals.h"

namespace {

using RuntimeTest = InternalsTest;

EFI_TIME At(UINT16 Year, UINT8 Month, UINT8 Day, UINT8 Hour = 0, UINT8 Minute = 0, UINT8 Second = 0,
            INT16 TimeZone = EFI_UNSPECIFIED_TIMEZONE) {
  EFI_TIME Time = {};
  Time.Year = Year;
  Time.Month = Month;
  Time.Day = Day;
  Time.Hour = Hour;
  Time.Minute = Minute;
  Time.Second = Second;
  Time.TimeZone = TimeZone;
  return Time;
}

TEST_F(RuntimeTest, TimeFollowsTheFirmwareClock) {
  struct Row {
    EFI_TIME Reading;
    INT32 Value;
  };
  EFI_TIME Fine = At(2000, 3, 1); // daylight saving and parts of a second do not count
  Fine.Nanosecond = 999999999;
  Fine.Daylight = 3;
  const Row Rows[] = {
      {At(1970, 1, 1), 0},
      {Fine, 951868800},
      {At(1970, 1, 1, 0, 0, 1), 1},
      {At(2000, 3, 1), 951868800},
      {At(2000, 3, 1, 0, 0, 0, -60), 951865200},
      {At(2000, 3, 1, 0, 0, 0, 90), 951874200},
      {At(2000, 3, 0), 951868800}, // day 0 counts as day 1
      {At(1970, 1, 1, 0, 0, 0, -60), -3600},
      {At(2024, 2, 29, 23, 59, 59), 1709251199},
      {At(2038, 1, 19, 3, 14, 7), INT32_MAX},
      // Beyond what a time value holds, or no date at all.
      {At(2038, 1, 19, 3, 14, 8), 0},
      {At(9999, 12, 31), 0},
      {At(1969, 12, 31), 0},
      {At(2000, 0, 1), 0},
      {At(2000, 13, 1), 0},
  };
  for (const Row &Case : Rows) {
    Firmware().RealTimeClock.Set(Case.Reading);
    INT32 Place = 77;
    EXPECT_EQ(Crt_time(&Place), Case.Value) << Case.Reading.Year << "-" << int(Case.Reading.Month);
    EXPECT_EQ(Place, Case.Value);
    EXPECT_EQ(Crt_time(nullptr), Case.Value);
  }
  Firmware().RealTimeClock.GetTimeCalls.FailFrom(1, EFI_DEVICE_ERROR);
  EXPECT_EQ(Crt_time(nullptr), 0);
}

TEST_F(RuntimeTest, BrokenDownTimeEqualsTheHosts) {
  std::vector<INT32> Values = {0,      86399,  72000,     951868800, 951782400, -1,
                               -86400, -86401, INT32_MIN, INT32_MAX, 68169600};
  std::mt19937 Generator(3);
  for (int Count = 0; Count < 20000; Count++) {
    Values.push_back(static_cast<INT32>(Generator()));
  }
  for (INT32 Value : Values) {
    std::time_t Wide = Value;
    std::tm Host;
    gmtime_r(&Wide, &Host);
    const CrtTm *Own = Crt_gmtime(&Value);
    ASSERT_EQ(std::vector<int>({Own->Second, Own->Minute, Own->Hour, Own->MonthDay, Own->Month, Own->Year,
                                Own->WeekDay, Own->YearDay, Own->Daylight}),
              std::vector<int>({Host.tm_sec, Host.tm_min, Host.tm_hour, Host.tm_mday, Host.tm_mon,
                                Host.tm_year, Host.tm_wday, Host.tm_yday, 0}))
        << Value;
  }
}

TEST_F(RuntimeTest, TimeAndBrokenDownTimeAreInverse) {
  for (INT32 Value = 0; Value > 0 || Value == 0; Value += 86400 * 9 + 3601) {
    CrtTm Parts = *Crt_gmtime(&Value);
    Firmware().RealTimeClock.Set(At(static_cast<UINT16>(Parts.Year + 1900),
                                    static_cast<UINT8>(Parts.Month + 1), static_cast<UINT8>(Parts.MonthDay),
                                    static_cast<UINT8>(Parts.Hour), static_cast<UINT8>(Parts.Minute),
                                    static_cast<UINT8>(Parts.Second)));
    ASSERT_EQ(Crt_time(nullptr), Value);
    if (Value > INT32_MAX - 86400 * 10) {
      break;
    }
  }
}

UINTN LowestFrame;

int CompareInts(const VOID *First, const VOID *Second) {
  LowestFrame = std::min(LowestFrame, reinterpret_cast<UINTN>(__builtin_frame_address(0)));
  int Left;
  int Right;
  memcpy(&Left, First, sizeof(int));
  memcpy(&Right, Second, sizeof(int));
  return Left < Right ? -1 : Left > Right;
}

int CompareFirstBytes(const VOID *First, const VOID *Second) {
  return int(*static_cast<const UINT8 *>(First)) - int(*static_cast<const UINT8 *>(Second));
}

TEST_F(RuntimeTest, SortsWhateverTheOrderWithoutDeepRecursion) {
  constexpr int Count = 20000;
  std::mt19937 Generator(5);
  std::vector<std::vector<int>> Inputs = {{3, 1, 2}, {}, {1}, {2, 1}};
  std::vector<int> Ascending(Count);
  std::iota(Ascending.begin(), Ascending.end(), -5000);
  std::vector<int> Random(Count);
  std::generate(Random.begin(), Random.end(), [&] { return int(Generator() % 3000); });
  Inputs.insert(Inputs.end(), {Ascending, std::vector<int>(Ascending.rbegin(), Ascending.rend()), Random});
  for (std::vector<int> &Input : Inputs) {
    std::vector<int> Expected = Input;
    std::sort(Expected.begin(), Expected.end());
    LowestFrame = ~UINTN{0};
    Crt_qsort(Input.data(), Input.size(), sizeof(int), CompareInts);
    EXPECT_EQ(Input, Expected);
    EXPECT_TRUE(Input.size() < 2 ||
                reinterpret_cast<UINTN>(__builtin_frame_address(0)) - LowestFrame < 32768);
  }
}

TEST_F(RuntimeTest, SortHoldsWideElementsInThePoolAndGivesUpWithoutIt) {
  for (UINTN Width : {UINTN{1}, UINTN{64}, UINTN{65}, UINTN{300}}) {
    Bytes Array = Pattern(Width * 50, Width);
    Bytes Expected = Array;
    UINTN Calls = Memory().Calls();
    Memory().FailAt(1);
    Crt_qsort(Array.data(), 50, Width, CompareFirstBytes);
    Memory().ClearFailures();
    if (Width > 64) {
      EXPECT_EQ(Array, Expected) << "an array is left as it was without memory";
      Crt_qsort(Array.data(), 50, Width, CompareFirstBytes);
    } else {
      EXPECT_EQ(Memory().Calls(), Calls) << "a narrow element needs no pool";
    }
    for (UINTN Index = 1; Index < 50; Index++) {
      ASSERT_LE(Array[(Index - 1) * Width], Array[Index * Width]) << "width " << Width;
    }
  }
  Bytes Untouched = {3, 2, 1};
  Crt_qsort(Untouched.data(), 3, 0, CompareFirstBytes);
  EXPECT_EQ(Untouched, (Bytes{3, 2, 1}));
}

TEST_F(RuntimeTest, TextRoutines) {
  EXPECT_EQ(Crt_strcmp("abc", "abc"), 0);
  EXPECT_EQ(Crt_strcmp("abc", "abd"), -1);
  EXPECT_EQ(Crt_strcmp("abcd", "abc"), 'd');
  EXPECT_EQ(Crt_strcmp("\x80", "a"), -128 - 'a') << "bytes are signed";
  EXPECT_EQ(Crt_strncmp("abcX", "abcY", 3), 0);
  EXPECT_LT(Crt_strncmp("abcX", "abcY", 4), 0);
  EXPECT_EQ(Crt_strncmp("ab", "ab", 9), 0);
  EXPECT_EQ(Crt_atoi("  \t007x"), 7U);
  EXPECT_EQ(Crt_atoi("-5"), 0U);
  EXPECT_EQ(Crt_atoi("+5"), 0U);
  EXPECT_EQ(Crt_atoi("18446744073709551615"), UINT64_MAX);
  EXPECT_EQ(Crt_strlen("four"), 4U);
  const CHAR8 *Text = "key: value:x";
  EXPECT_EQ(Crt_strspn(Text, "eyk"), 3U);
  EXPECT_EQ(Crt_strcspn(Text, ":"), 3U);
  EXPECT_EQ(Crt_strcspn("abc", ""), 3U);
  EXPECT_EQ(Crt_strchr(Text, ':'), Text + 3);
  EXPECT_EQ(Crt_strchr(Text, '\0'), Text + 12);
  EXPECT_EQ(Crt_strchr(Text, 'z'), nullptr);
  EXPECT_EQ(Crt_strrchr(Text, ':'), Text + 10);
  EXPECT_EQ(Crt_strrchr(Text, 'z'), nullptr);
  EXPECT_EQ(Crt_strstr(Text, "value"), Text + 5);
  EXPECT_EQ(Crt_strstr(Text, "values"), nullptr);
  EXPECT_EQ(Crt_strpbrk(Text, "xv"), Text + 5);
  EXPECT_EQ(Crt_strpbrk(Text, "?"), nullptr);
  EXPECT_EQ(Crt_sscanf("1.2.3.4", "%d.%d.%d.%d", nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(BIO_printf(nullptr, "%d", 1), 0);
  for (int Character = 0; Character < 256; Character++) {
    EXPECT_EQ(Crt_isspace(Character) != 0, Character == ' ' || (Character >= 9 && Character <= 13))
        << Character;
    EXPECT_EQ(Crt_isdigit(Character) != 0, Character >= '0' && Character <= '9') << Character;
    EXPECT_EQ(Crt_tolower(Character), Character >= 'A' && Character <= 'Z' ? Character + 32 : Character);
  }
  Memory().FailAt(1);
  EXPECT_EQ(Crt_strdup(Text), nullptr);
  CHAR8 *Copy = Crt_strdup(Text);
  EXPECT_STREQ(Copy, Text);
  Crt_free(Copy);
}

// What the firmware has nothing for answers as failed.
TEST_F(RuntimeTest, UnsupportedRoutines) {
  CHAR8 Text[] = "12";
  CHAR8 *End = nullptr;
  EXPECT_EQ(Crt_strtol(Text, &End, 10), 0);
  EXPECT_EQ(End, Text);
  EXPECT_EQ(Crt_strtoul(Text, nullptr, 10), 0U);
  EXPECT_EQ(Crt_getenv("PATH"), nullptr);
  EXPECT_EQ(Crt_stat("/", nullptr), -1);
  EXPECT_STREQ(Crt_strerror(2), "");
  INT64 Now[2] = {1, 1};
  EXPECT_EQ(Crt_gettimeofday(Now, nullptr), -1);
  EXPECT_EQ(Session().Run([] { Crt_abort(); }), RunOutcome::Halted);
}

TEST_F(RuntimeTest, ThreadDataHaveAnEndOfKeys) {
  unsigned int Key = ~0U;
  unsigned int Last = ~0U;
  while (CRYPTO_THREAD_init_local(&Key, nullptr) == 1) {
    Last = Key;
    ASSERT_EQ(CRYPTO_THREAD_set_local(&Key, &Key), 1);
    ASSERT_EQ(CRYPTO_THREAD_get_local(&Key), &Key);
  }
  EXPECT_EQ(Last, 63U);
  EXPECT_EQ(Key, Last) << "a refusal stores nothing";
  ASSERT_EQ(CRYPTO_THREAD_cleanup_local(&Key), 1);
  EXPECT_EQ(CRYPTO_THREAD_set_local(&Key, &Key), 0);
  EXPECT_EQ(CRYPTO_THREAD_get_local(&Key), nullptr);
}

TEST_F(RuntimeTest, BoundedCopyAnswersInItsOrder) {
  std::vector<CHAR8> Room(3 * 4096, 'r');
  CHAR8 *Far = Room.data() + 2 * 4096;
  const std::string Long(5000, 'a');
  const std::string Exact(4095, 'b');
  EXPECT_EQ(Crt_strncpy(nullptr, "a", 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Crt_strncpy(Far, nullptr, 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Crt_strncpy(Far, "a", 1000001), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Crt_strncpy(Far, "a", 1000000), EFI_SUCCESS);
  EXPECT_STREQ(Far, "a");
  EXPECT_EQ(Crt_strncpy(Room.data(), Long.c_str(), 4096), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Crt_strncpy(Room.data(), Long.c_str(), 4095), EFI_SUCCESS);
  EXPECT_EQ(Crt_strlen(Room.data()), 4095U);
  EXPECT_EQ(Crt_strncpy(Room.data(), Exact.c_str(), 4096), EFI_SUCCESS);
  EXPECT_EQ(Crt_strncpy(Room.data(), "abcdef", 3), EFI_SUCCESS);
  EXPECT_EQ(std::string(Room.data(), 5), std::string("abc\0b", 5))
      << "nothing behind the terminator is padded";
  // Overlap: the destination within the source and its terminator, or the source within 4096 bytes above.
  strcpy(Far, "hello");
  EXPECT_EQ(Crt_strncpy(Far + 5, Far, 9), EFI_ACCESS_DENIED);
  EXPECT_EQ(Crt_strncpy(Far + 6, Far, 9), EFI_SUCCESS);
  EXPECT_EQ(Crt_strncpy(Far, Far, 0), EFI_ACCESS_DENIED);
  EXPECT_EQ(Crt_strncpy(Far - 4095, Far, 9), EFI_ACCESS_DENIED);
  EXPECT_EQ(Crt_strncpy(Far - 4096, Far, 9), EFI_SUCCESS);
  EXPECT_STREQ(Far - 4096, "hello");
}

TEST_F(RuntimeTest, BoundedAppendAnswersInItsOrder) {
  std::vector<CHAR8> Buffer(4096, 'x');
  EXPECT_EQ(Crt_strcat(nullptr, "a"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Crt_strcat(Buffer.data(), nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Crt_strcat(Buffer.data(), "a"), EFI_BAD_BUFFER_SIZE);
  Buffer[4095] = '\0';
  EXPECT_EQ(Crt_strcat(Buffer.data(), ""), EFI_SUCCESS);
  EXPECT_EQ(Crt_strcat(Buffer.data(), "a"), EFI_BUFFER_TOO_SMALL);
  Buffer[4094] = '\0';
  EXPECT_EQ(Crt_strcat(Buffer.data(), "a"), EFI_SUCCESS);
  EXPECT_EQ(Buffer[4094], 'a');
  strcpy(Buffer.data(), "one");
  EXPECT_EQ(Crt_strcat(Buffer.data(), ", two"), EFI_SUCCESS);
  EXPECT_STREQ(Buffer.data(), "one, two");
  Buffer.resize(2 * 4096);
  CHAR8 *One = Buffer.data();
  for (UINTN Place : {0, 3, 4095}) {
    EXPECT_EQ(Crt_strcat(One, One + Place), EFI_ACCESS_DENIED) << Place;
  }
  EXPECT_EQ(Crt_strcat(One + 8, One), EFI_ACCESS_DENIED) << "within the source's terminator";
  EXPECT_STREQ(One, "one, two");
  EXPECT_EQ(Crt_strcat(One, One + 4096), EFI_SUCCESS);
  One[9] = '\0';
  EXPECT_EQ(Crt_strcat(One + 9, One), EFI_SUCCESS);
  EXPECT_STREQ(One + 9, "one, two");
}

TEST_F(RuntimeTest, MemoryRoutinesAtEverySizeAndOverlap) {
  for (UINTN Size = 0; Size < 140; Size++) {
    for (INTN Shift : {-70, -9, -8, -1, 0, 1, 7, 8, 70}) {
      Bytes Own = Pattern(400, Size);
      Bytes Host = Own;
      for (auto *Routine : {Crt_memcpy, Crt_memmove}) {
        EXPECT_EQ(Routine(Own.data() + 130 + Shift, Own.data() + 130, Size), Own.data() + 130 + Shift);
        memmove(Host.data() + 130 + Shift, Host.data() + 130, Size);
        ASSERT_EQ(Own, Host) << Size << " bytes by " << Shift;
      }
    }
    Bytes Own = Pattern(200, Size);
    Bytes Host = Own;
    EXPECT_EQ(Crt_memset(Own.data() + 7, 0x1A5, Size), Own.data() + 7);
    memset(Host.data() + 7, 0xA5, Size);
    ASSERT_EQ(Own, Host);
    ASSERT_EQ(Crt_memcmp(Own.data(), Host.data(), Size), 0);
    if (Size != 0) {
      Host[Size - 1] ^= 0x80;
      EXPECT_EQ(Crt_memcmp(Own.data(), Host.data(), Size), int(Own[Size - 1]) - int(Host[Size - 1]));
    }
  }
  const Bytes Found = {1, 2, 0xFF, 2};
  EXPECT_EQ(Crt_memchr(Found.data(), 2, 4), Found.data() + 1);
  EXPECT_EQ(Crt_memchr(Found.data(), -1, 4), Found.data() + 2);
  EXPECT_EQ(Crt_memchr(Found.data(), 9, 4), nullptr);
}

} // namespace
