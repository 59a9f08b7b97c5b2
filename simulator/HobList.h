// Builds a hand-off block list in memory as an earlier boot phase would leave it (PI 1.7, volume 3, section
// 5): hand-off block first, end block last. Bad lengths are built as asked; nothing is corrected.
#pragma once

#include <optional>
#include <vector>

#include "uefi/Hob.h"

class HobList {
public:
  // Starts with the hand-off block.
  HobList();

  // Appends a GUID block with Data behind the name, padded with Padding to a multiple of 8 bytes. HobLength
  // is the padded size unless Length says otherwise; the next block follows where Length claims that it does,
  // but never before the end of this block's header.
  HobList &AddGuid(const EFI_GUID &Name, const std::vector<UINT8> &Data, std::optional<UINT16> Length = {},
                   UINT8 Padding = 0);

  // Appends a block of any type from the bytes behind its generic header, under the same rules.
  HobList &AddRaw(UINT16 Type, const std::vector<UINT8> &Body, std::optional<UINT16> Length = {},
                  UINT8 Padding = 0);

  // Appends the end block, if it is not there yet, and gives the first block: what the configuration table
  // points at. Valid until this object goes; nothing can be added afterwards.
  VOID *Start();

private:
  // Exactly as long as the list, so that a sanitizer sees a read beyond it.
  std::vector<UINT8> Bytes_;
  bool Ended_ = false;
};
