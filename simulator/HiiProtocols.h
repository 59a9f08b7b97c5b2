// EFI_HII_DATABASE_PROTOCOL and EFI_HII_STRING_PROTOCOL over the store (UEFI 2.10, sections 34.8 and 34.3).
// The members that read and register package lists work; all others end the run with their name.
#pragma once

#include "simulator/HiiStore.h"
#include "simulator/ScriptedStatus.h"
#include "uefi/HiiDatabase.h"
#include "uefi/HiiString.h"

class HiiProtocols {
public:
  HiiProtocols();

  // The interfaces to install.
  EFI_HII_DATABASE_PROTOCOL Database;
  EFI_HII_STRING_PROTOCOL String;

  // What the interfaces work on.
  HiiStore Store;

  // Failures in front of the working members.
  ScriptedStatus NewPackageListCalls;
  ScriptedStatus ListPackageListsCalls;
  ScriptedStatus ExportPackageListsCalls;
  ScriptedStatus GetLanguagesCalls;
  ScriptedStatus GetStringCalls;
};
