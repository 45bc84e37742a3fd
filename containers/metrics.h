// The settings handle behind HGVMETRIC.
#pragma once

#include "include/gvmetric.h"

namespace gv::metrics {

constexpr int kMaxPath = 260;

// "Software\Marrowbeam\<app>\<major>.<minor>\Metrics[\<subKey>]" into path;
// false (path empty) when app is null or empty or the path does not fit.
bool KeyPath(char (&path)[kMaxPath], LPCSTR app, DWORD version, LPCSTR subKey);

}  // namespace gv::metrics

struct tGVMETRICS {
  char machinePath[gv::metrics::kMaxPath];
  HKEY machineKey;  // HKEY_LOCAL_MACHINE, negative ids; null if it could not be created
  char userPath[gv::metrics::kMaxPath];
  HKEY userKey;     // HKEY_CURRENT_USER, ids >= 0
};
