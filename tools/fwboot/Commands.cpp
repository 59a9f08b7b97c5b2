// The one list of commands.
#include "tools/fwboot/Commands.h"

namespace {

constexpr COMMAND mCommands[] = {
    {"boot", "Boot the driver and print what it asked of the firmware, step by step", DeclareBoot},
    {"screen", "Show the violation screen of a language and a reason, or draw it", DeclareScreen},
    {"services", "List the 62 services: slot, offset, name, result, family", DeclareServices},
    {"hash", "Print digests of files, in the form of the sum tools", DeclareHash},
    {"hmac", "Print MACs of files under a key, in the form of the sum tools", DeclareHmac},
    {"pbkdf2", "Derive a key from a password", DeclarePbkdf2},
    {"base64", "Convert bytes to Base64 text and back", DeclareBase64},
    {"random", "Print bytes of the random generator", DeclareRandom},
    {"verify", "Check the signatures of a PE program against a trusted certificate", DeclareVerify},
    {"verify-pkcs7", "Check a PKCS#7 signature over a file against a trusted certificate",
     DeclareVerifyPkcs7},
    {"cert", "Show a certificate", DeclareCert},
    {"key", "Show a private key in PEM, and that it works", DeclareKey},
    {"verify-data", "Check an RSA signature over files, with a built-in key or a modulus", DeclareVerifyData},
    {"verify-image", "Verify a firmware image in memory and show what happens to it", DeclareVerifyImage},
    {"keys", "List the built-in public keys with their fingerprints", DeclareKeys},
    {"vectors", "Run files of test vectors against the services", DeclareVectors},
};

} // namespace

std::span<const COMMAND> AllCommands() {
  return mCommands;
}
