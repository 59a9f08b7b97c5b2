// The families of vectors: how each drives the service slots with its cases. A new one is a file with its
// routine, a line below, and a row in Families.cpp.
#pragma once

#include <string>

#include "tools/vectors/VectorRun.h"

struct VECTOR_FAMILY {
  const char *Name;
  // Reads everything it needs from the case and drives each slot that the case lists. Throws VectorError for
  // a case that makes no sense in the family.
  void (*Run)(VectorRun &Run);
  // Whether every case needs a boot of its own; otherwise the cases of a file share one.
  bool FreshBoot;
};

// NULL for a name that is none.
const VECTOR_FAMILY *FindVectorFamily(const std::string &Name);

// "aes, digest, …", for a message.
std::string VectorFamilyNames();

void RunDigestCase(VectorRun &Run);
void RunDigestMonteCase(VectorRun &Run);
void RunX509CertCase(VectorRun &Run);
void RunX509VerifyCase(VectorRun &Run);
void RunPemKeyCase(VectorRun &Run);
void RunPkcs7Case(VectorRun &Run);
void RunAuthenticodeCase(VectorRun &Run);
void RunDhCase(VectorRun &Run);
void RunHmacCase(VectorRun &Run);
void RunAesCase(VectorRun &Run);
void RunTdesCase(VectorRun &Run);
void RunBase64Case(VectorRun &Run);
void RunPbkdf2Case(VectorRun &Run);
void RunRsaVerifyCase(VectorRun &Run);
void RunRsaSignCase(VectorRun &Run);
void RunRsaDecryptCase(VectorRun &Run);
