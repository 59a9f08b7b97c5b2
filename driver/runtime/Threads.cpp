// The crypto library's threads and locks, in a driver that has neither: locks
// that are always free, one thread that owns every thread's data. They stand
// under the library's own names, so that the linker takes them instead of those
// in the archive, whose locks are a pool block each and fault where memory for
// one was missing.
#include "uefi/Base.h"

#include <openssl/crypto.h>

namespace {

constexpr UINTN LargestKey = 64;
VOID *ThreadData[LargestKey];
unsigned int KeysInUse;

UINT8 OnlyLock;

} // namespace

extern "C" {

CRYPTO_RWLOCK *CRYPTO_THREAD_lock_new(void) {
  return &OnlyLock;
}

void CRYPTO_THREAD_lock_free(CRYPTO_RWLOCK *) {}

int CRYPTO_THREAD_read_lock(CRYPTO_RWLOCK *) {
  return 1;
}

int CRYPTO_THREAD_write_lock(CRYPTO_RWLOCK *) {
  return 1;
}

int CRYPTO_THREAD_unlock(CRYPTO_RWLOCK *) {
  return 1;
}

int CRYPTO_THREAD_run_once(CRYPTO_ONCE *Once, void (*Routine)(void)) {
  if (*Once == 0) {
    Routine();
    *Once = 1;
  }
  return 1;
}

int CRYPTO_THREAD_init_local(CRYPTO_THREAD_LOCAL *Key, void (*)(void *)) {
  if (KeysInUse == LargestKey) {
    return 0;
  }
  *Key = KeysInUse++;
  return 1;
}

void *CRYPTO_THREAD_get_local(CRYPTO_THREAD_LOCAL *Key) {
  return *Key < LargestKey ? ThreadData[*Key] : nullptr;
}

int CRYPTO_THREAD_set_local(CRYPTO_THREAD_LOCAL *Key, void *Data) {
  if (*Key >= LargestKey) {
    return 0;
  }
  ThreadData[*Key] = Data;
  return 1;
}

int CRYPTO_THREAD_cleanup_local(CRYPTO_THREAD_LOCAL *Key) {
  *Key = LargestKey;
  return 1;
}

CRYPTO_THREAD_ID CRYPTO_THREAD_get_current_id(void) {
  return 0;
}

int CRYPTO_THREAD_compare_id(CRYPTO_THREAD_ID First, CRYPTO_THREAD_ID Second) {
  return First == Second;
}

int CRYPTO_atomic_add(int *Value, int Amount, int *Result, CRYPTO_RWLOCK *) {
  *Value += Amount;
  *Result = *Value;
  return 1;
}

int CRYPTO_atomic_or(uint64_t *Value, uint64_t Bits, uint64_t *Result, CRYPTO_RWLOCK *) {
  *Value |= Bits;
  *Result = *Value;
  return 1;
}

int CRYPTO_atomic_load(uint64_t *Value, uint64_t *Result, CRYPTO_RWLOCK *) {
  *Result = *Value;
  return 1;
}

// No process here forks.
int openssl_init_fork_handlers(void);
int openssl_get_fork_id(void);
int openssl_init_fork_handlers(void) {
  return 0;
}
int openssl_get_fork_id(void) {
  return 0;
}
}
