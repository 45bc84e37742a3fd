// The settings handle behind HGVMETRIC.
#pragma once

#include "include/gvmetric.h"

struct tGVMETRICS {
  char machinePath[260];
  HKEY machineKey;  // HKEY_LOCAL_MACHINE, negative ids; null if it could not be created
  char userPath[260];
  HKEY userKey;     // HKEY_CURRENT_USER, ids >= 0
};
