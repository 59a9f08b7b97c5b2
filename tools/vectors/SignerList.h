// Slot 32 with a message whose case says who signed it; for the families of signed messages.
#pragma once

#include "tools/vectors/VectorRun.h"

// Compares both results with "signers" and "signer.0" and on, where "@trust" stands for the bytes of "trust",
// and releases them.
void RunSignerList(VectorRun &Run, const std::vector<UINT8> &Message);
