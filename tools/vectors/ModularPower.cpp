// GMP's arithmetic between byte strings.
#include "tools/vectors/ModularPower.h"

#include <gmp.h>

namespace {

class Number {
public:
  Number() { mpz_init(Value_); }
  explicit Number(const std::vector<UINT8> &Bytes) : Number() {
    mpz_import(Value_, Bytes.size(), 1, 1, 1, 0, Bytes.data());
  }
  ~Number() { mpz_clear(Value_); }
  Number(const Number &) = delete;
  Number &operator=(const Number &) = delete;

  mpz_ptr Get() { return Value_; }
  std::vector<UINT8> Bytes() const {
    std::vector<UINT8> Result((mpz_sizeinbase(Value_, 2) + 7) / 8);
    size_t Written = 0;
    mpz_export(Result.data(), &Written, 1, 1, 1, 0, Value_);
    Result.resize(Written);
    return Result;
  }

private:
  mpz_t Value_;
};

} // namespace

std::vector<UINT8> ModularPower(const std::vector<UINT8> &Base, const std::vector<UINT8> &Exponent,
                                const std::vector<UINT8> &Modulus) {
  Number Result;
  mpz_powm(Result.Get(), Number(Base).Get(), Number(Exponent).Get(), Number(Modulus).Get());
  return Result.Bytes();
}
