// The driver's service table with every entry passed through the checked gate, so that a test which calls a
// service as any firmware module would has its calling convention and stack use watched. The driver's own
// table stays untouched, for benchmarks.
#pragma once

#include "uefi/Base.h"

#include "CryptoServicesProtocol.h"

class CheckedServices {
public:
  // Raw must live as long as this object; one object lives at a time.
  explicit CheckedServices(const CRYPTO_SERVICES_PROTOCOL *Raw);
  ~CheckedServices();
  CheckedServices(const CheckedServices &) = delete;
  CheckedServices &operator=(const CheckedServices &) = delete;

  // The table to call through: same members, same arguments.
  const CRYPTO_SERVICES_PROTOCOL *operator->() const { return &Table_; }
  const CRYPTO_SERVICES_PROTOCOL *Table() const { return &Table_; }

  // The member name of a slot, 0 to 61: the name under which DriverCall.h reports it.
  static const char *SlotName(UINTN Slot);

private:
  CRYPTO_SERVICES_PROTOCOL Table_;
};
