// The table and how a row is run; the rows of digests, MACs, ciphers, randomness, encodings and policy.
// Inputs are small: the calls are made thousands of times.
#include "tests/services/SlotCalls.h"

#include <algorithm>
#include <map>

#include "tests/services/SlotCallRows.h"
#include "tests/services/TestFolder.h"
#include "tools/session/SlotTable.h"

namespace {

using P = CRYPTO_SERVICES_PROTOCOL;

const Bytes mIvec = Pattern(16, 6);
const Bytes mAesKey = Pattern(32, 7);
const Bytes mTdesKey = Pattern(24, 8);
const Bytes mHmacKey = Pattern(40, 9);
const Bytes mLongHmacKey = Pattern(80, 10);
const Bytes mSeed = Pattern(32, 11);
const Bytes mPassword = Pattern(28, 15);

std::vector<SlotCall> mCalls;

// The key and the two pads made of it (RFC 2104).
std::vector<Bytes> WithPads(const Bytes &Key) {
  std::vector<Bytes> All(3, Key);
  for (UINTN Index = 0; Index < Key.size(); Index++) {
    All[1][Index] ^= 0x36;
    All[2][Index] ^= 0x5C;
  }
  return All;
}

void AddDigests() {
  AddCall(6, CALL(SvcSha256GetContextSize()), {.Success = CRYPTO_SERVICES_SHA256_CONTEXT_SIZE});
  AddCall(10, CALL(SvcSha1GetContextSize()), {.Success = CRYPTO_SERVICES_SHA1_CONTEXT_SIZE});
  const struct {
    UINTN Slot;
    CRYPTO_SERVICES_SHA256_INIT P::*InitMember;
    CRYPTO_SERVICES_SHA256_UPDATE P::*UpdateMember;
    CRYPTO_SERVICES_SHA256_FINAL P::*FinalMember;
  } Streams[] = {{7, &P::SvcSha256Init, &P::SvcSha256Update, &P::SvcSha256Final},
                 {11, &P::SvcSha1Init, &P::SvcSha1Update, &P::SvcSha1Final}};
  for (const auto &[Slot, InitMember, UpdateMember, FinalMember] : Streams) {
    const auto Init = [M = InitMember](SlotStage &s) { return (s.Svc.*M)(s.Context.data()); };
    const auto Update = [M = UpdateMember](SlotStage &s) {
      return (s.Svc.*M)(s.Context.data(), IN(SlotMessage()));
    };
    const auto Final = [M = FinalMember](SlotStage &s) {
      return (s.Svc.*M)(s.Context.data(), s.Output.data());
    };
    AddCall(Slot, Init);
    AddCall(Slot + 1, Update, {.Prepare = Init});
    AddCall(Slot + 2, Final, {.Prepare = STEP(Init(s), Update(s))});
  }
  AddCall(2, CALL(SvcHashAll(HASH_TYPE_SHA256, IN(SlotMessage()), OUT)));
  AddCall(2, CALL(SvcHashAll(HASH_TYPE_SHA1, IN(SlotMessage()), OUT)), {.Variant = ", SHA-1"});
  AddCall(2, CALL(SvcHashAll(HASH_TYPE_MD5, IN(SlotMessage()), OUT)), {.Variant = ", MD5"});
}

void AddMacs() {
  AddCall(14, CALL(SvcHmacSha1GetContextSize()), {.Success = CRYPTO_SERVICES_HMAC_SHA1_CONTEXT_SIZE});
  const auto Init = CALL(SvcHmacSha1Init(s.Context.data(), IN(mHmacKey)));
  const auto Update = CALL(SvcHmacSha1Update(s.Context.data(), IN(SlotMessage())));
  const auto Final = CALL(SvcHmacSha1Final(s.Context.data(), s.Output.data()));
  const auto Secrets = [](const SlotStage &) { return WithPads(mHmacKey); };
  AddCall(15, Init, {.Finish = STEP(Update(s), Final(s)), .Secrets = Secrets});
  AddCall(16, Update, {.Prepare = Init, .Finish = Final, .Secrets = Secrets});
  AddCall(17, Final, {.Prepare = STEP(Init(s), Update(s)), .Secrets = Secrets});

  // Input holds what goes into the pads: the digest of a long key.
  for (const Bytes &Key : {mHmacKey, mLongHmacKey}) {
    const bool IsLong = Key.size() > 64;
    const auto Prepare = [=](SlotStage &s) {
      s.Input = Key;
      if (IsLong) {
        s.Input.resize(s.Size = CRYPTO_SERVICES_SHA256_DIGEST_SIZE);
        s.Svc.SvcHashAll(HASH_TYPE_SHA256, IN(Key), s.Input.data(), &s.Size);
        s.Size = s.Output.size();
      }
    };
    const auto Compute = CALL(SvcHmacCompute(HASH_TYPE_SHA256, IN(Key), IN(SlotMessage()), OUT));
    const auto Verify =
        CALL(SvcHmacVerify(HASH_TYPE_SHA256, IN(Key), IN(SlotMessage()), s.Output.data(), s.Size));
    const auto KeySecrets = [=](const SlotStage &s) {
      std::vector<Bytes> All = WithPads(s.Input);
      All.push_back(Key);
      return All;
    };
    const char *Variant = IsLong ? ", long key" : "";
    AddCall(52, Compute, {.Variant = Variant, .Prepare = Prepare, .Secrets = KeySecrets});
    AddCall(53, Verify, {.Variant = Variant, .Prepare = STEP(Prepare(s), Compute(s)), .Secrets = KeySecrets});
  }
}

void AddCiphers() {
  AddCall(18, CALL(SvcTdesGetContextSize()), {.Success = CRYPTO_SERVICES_TDES_CONTEXT_SIZE});
  AddCall(35, CALL(SvcAesGetContextSize()), {.Success = CRYPTO_SERVICES_AES_CONTEXT_SIZE});
  const auto Tdes = CALL(SvcTdesInit(s.Context.data(), mTdesKey.data(), 192));
  const auto Aes = CALL(SvcAesInit(s.Context.data(), mAesKey.data(), 256));
  const auto TdesSecrets = SECRETS(mTdesKey, s.Context);
  const auto AesSecrets = SECRETS(mAesKey, s.Context);
  const UINT8 *In = SlotMessage().data();
  const UINT8 *Ivec = mIvec.data();
  AddCall(19, Tdes, {.Secrets = TdesSecrets});
  AddCall(20, CALL(SvcTdesCbcEncrypt(s.Context.data(), In, 24, Ivec, s.Output.data())),
          {.Prepare = Tdes, .Secrets = TdesSecrets});
  AddCall(21, CALL(SvcTdesCbcDecrypt(s.Context.data(), In, 24, Ivec, s.Output.data())),
          {.Prepare = Tdes, .Secrets = TdesSecrets});
  AddCall(36, Aes, {.Secrets = AesSecrets});
  AddCall(37, CALL(SvcAesCbcEncrypt(s.Context.data(), In, 144, Ivec, s.Output.data())),
          {.Prepare = Aes, .Secrets = AesSecrets});
  AddCall(38, CALL(SvcAesCbcDecrypt(s.Context.data(), In, 144, Ivec, s.Output.data())),
          {.Prepare = Aes, .Secrets = AesSecrets});
  AddCall(39, CALL(SvcAesEcbEncrypt(s.Context.data(), In, 144, s.Output.data())),
          {.Prepare = Aes, .Secrets = AesSecrets});
  AddCall(40, CALL(SvcAesEcbDecrypt(s.Context.data(), In, 144, s.Output.data())),
          {.Prepare = Aes, .Secrets = AesSecrets});
  AddCall(51, CALL(SvcAesLayeredTransform(s.Output.data(), In, 40, mAesKey.data(), 256)),
          {.Prepare = Aes, .Secrets = SECRETS(mAesKey, s.Context, FirstOf(s.Output, 40))});
}

void AddRandomness() {
  // Leaves whether bytes were drawn, and no others touched.
  const auto Judge = [](SlotStage &s) {
    const bool Drawn = std::count(s.Output.begin(), s.Output.begin() + 48, 0xC7) < 8;
    s.Output = {Drawn && std::count(s.Output.begin() + 48, s.Output.end(), 0xC7) == 512 - 48};
  };
  const auto Drawn = SECRETS(FirstOf(s.Output, 48));
  AddCall(46, CALL(SvcRandomSeed(IN(mSeed))), {.Secrets = SECRETS(mSeed)});
  AddCall(47, CALL(SvcRandomBytes(s.Output.data(), 48)), {.Finish = Judge, .Secrets = Drawn});
  AddCall(50, CALL(SvcRandomFillClockSeeded(s.Output.data(), 48)), {.Finish = Judge, .Secrets = Drawn});
  const auto Secrets = [](const SlotStage &s) {
    std::vector<Bytes> All = WithPads(mPassword);
    All.push_back(FirstOf(s.Output, 40));
    return All;
  };
  AddCall(49, CALL(SvcPbkdf2HmacSha1(IN(mPassword), mIvec.data(), 8, 3, s.Output.data(), 40)),
          {.Secrets = Secrets, .Failures = {EFI_DEVICE_ERROR}});
}

void AddBase64() {
  const auto Encode = [](SlotStage &s) {
    return s.Svc.SvcBase64EncodeToAscii(FALSE, TRUE, SlotMessage().data(), 60,
                                        reinterpret_cast<CHAR8 **>(&s.Made[0]), &s.Size);
  };
  const auto EncodeWide = [](SlotStage &s) {
    return s.Svc.SvcBase64EncodeToUnicode(FALSE, TRUE, SlotMessage().data(), 60,
                                          reinterpret_cast<CHAR16 **>(&s.Made[0]), &s.Size);
  };
  const auto MakeText = STEP(Encode(s), TakeMade(s, s.Size), s.Input = s.Output);
  const auto MakeWideText = STEP(EncodeWide(s), TakeMade(s, 2 * s.Size), s.Input = s.Output);
  const auto Wide = [](SlotStage &s) { return reinterpret_cast<const CHAR16 *>(s.Input.data()); };
  const auto Narrow = [](SlotStage &s) { return reinterpret_cast<CHAR8 *>(s.Input.data()); };
  const auto Take = STEP(TakeMade(s, s.Size));
  const auto Secrets = SECRETS(FirstOf(SlotMessage(), 60), s.Input);
  const SlotRest Narrowly = {.Prepare = MakeText, .Finish = Take, .Secrets = Secrets};
  const SlotRest Widely = {.Prepare = MakeWideText, .Finish = Take, .Secrets = Secrets};
  // Where memory runs out before the first character, nothing was encoded.
  const std::vector<UINT64> Failures = {EFI_OUT_OF_RESOURCES, EFI_LOAD_ERROR};
  AddCall(54, EncodeWide,
          {.Prepare = MakeText,
           .Finish = STEP(TakeMade(s, 2 * s.Size)),
           .Secrets = Secrets,
           .Failures = Failures});
  AddCall(55, Encode, {.Prepare = MakeText, .Finish = Take, .Secrets = Secrets, .Failures = Failures});
  AddCall(56, CALL(SvcBase64DecodeUnicode(FALSE, TRUE, Wide(s), s.Input.size() / 2, &s.Made[0], &s.Size)),
          Widely);
  AddCall(57, CALL(SvcBase64DecodeUnicodeAuto(Wide(s), s.Input.size() / 2, &s.Made[0], &s.Size)), Widely);
  AddCall(58, CALL(SvcBase64DecodeAscii(FALSE, TRUE, Narrow(s), s.Input.size(), &s.Made[0], &s.Size)),
          Narrowly);
  AddCall(59, CALL(SvcBase64DecodeAsciiAuto(Narrow(s), s.Input.size(), &s.Made[0], &s.Size)), Narrowly);
}

} // namespace

const Bytes &SlotMessage() {
  static const Bytes Message = Pattern(200, 5);
  return Message;
}

Bytes FirstOf(const Bytes &Buffer, UINTN Size) {
  return Bytes(Buffer.begin(), Buffer.begin() + static_cast<std::ptrdiff_t>(Size));
}

void TakeMade(SlotStage &s, UINTN Size, UINTN Which) {
  s.Output.assign(s.Made[Which], s.Made[Which] + Size);
  EXPECT_EQ(SimulatedFirmware::Living().BootServices()->FreePool(s.Made[Which]), EFI_SUCCESS);
  s.Made[Which] = nullptr;
}

void AddCall(UINTN Slot, std::function<UINT64(SlotStage &)> Call, SlotRest Rest) {
  const SlotInfo Info = DescribeSlot(Slot);
  const bool IsStatus = Info.Kind == ResultKind::Status;
  const UINT64 Usual = IsStatus ? EFI_SUCCESS : Info.Kind == ResultKind::Nothing ? 0 : TRUE;
  if (Rest.Failures.empty()) {
    Rest.Failures = {IsStatus ? EFI_OUT_OF_RESOURCES : FALSE};
  }
  mCalls.push_back({Slot, std::string(Info.Name) + Rest.Variant, Rest.Success.value_or(Usual), Rest.Failures,
                    Rest.Prepare, std::move(Call), Rest.Finish, Rest.Secrets});
}

const std::vector<SlotCall> &SlotCalls() {
  if (mCalls.empty()) {
    for (auto Family : {AddDigests, AddMacs, AddCiphers, AddRandomness, AddBase64, AddPublicKeyCalls}) {
      Family();
    }
    AddCall(5, CALL(SvcReportPolicyEvent(2, "Module", 6)));
    std::stable_sort(mCalls.begin(), mCalls.end(),
                     [](const SlotCall &Left, const SlotCall &Right) { return Left.Slot < Right.Slot; });
  }
  return mCalls;
}

SlotOutcome RunSlot(const CRYPTO_SERVICES_PROTOCOL &Svc, const SlotCall &Call, const SlotWrapper &Around) {
  SlotStage Stage(Svc);
  Call.Prepare(Stage);
  SlotOutcome Outcome{};
  Around(Stage, [&] { Outcome.Answer = Call.Call(Stage); });
  if (Outcome.Answer == Call.Success) {
    Call.Finish(Stage);
  }
  Outcome.Context = Stage.Context;
  Outcome.Output = Stage.Output;
  return Outcome;
}

SlotTest::SlotTest() {
  LibraryKeepsBlocks = true;
  Layout_.Descriptor.ExcludedRegion1Offset = 2000;
  Layout_.Descriptor.ExcludedRegion1Size = 300;
  Layout_.Descriptor.ExcludedRegion2Size = Layout_.Descriptor.ExcludedRegion3Size = 4;
  Options.Prepare = [this](DriverSession &Starting) {
    HandleDatabase &Handles = Starting.Firmware().Handles;
    Handles.InstallHost(mImageLayoutProtocolGuid, &Layout_.Interface);
    Handles.InstallHost(mEfiSmmCommunicationProtocolGuid, Smm_.Interface());
    SetClock(Starting.Firmware(), 1);
    for (ProcessorScript::Feature Which : Removed_) {
      Starting.Processor().SetFeature(Which, false);
    }
  };
}

void SlotTest::Boot(const std::vector<ProcessorScript::Feature> &Removed) {
  Removed_ = Removed;
  Reboot();
  ASSERT_TRUE(Svc().SvcRandomSeed(IN(mSeed)));
}

const SlotOutcome &SlotTest::Expected(const SlotCall &Call) {
  static std::map<const SlotCall *, SlotOutcome> Known;
  auto [Entry, IsNew] = Known.try_emplace(&Call);
  if (IsNew) {
    Entry->second = RunSlot(Svc(), Call);
    EXPECT_EQ(Entry->second.Answer, Call.Success) << Call.Name;
  }
  return Entry->second;
}
