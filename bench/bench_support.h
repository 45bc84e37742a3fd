// What the benchmark programs share besides the clock: temporary file names,
// and crash and hang reports for the long stress runs.
#pragma once

#include <windows.h>

#include <cstdio>
#include <string>

// A new, empty file in the temporary folder.
inline std::string TempName(const char *prefix) {
  char dir[MAX_PATH], name[MAX_PATH];
  GetTempPathA(MAX_PATH, dir);
  GetTempFileNameA(dir, prefix, 0, name);
  return name;
}

// The variant a stress run is working on, and the performance counter at
// the start of its running step (0 between steps), for the reports below.
inline volatile LONG64 g_currentVariant = -1;
inline volatile LONG64 g_stepStart = 0;

inline LONG WINAPI OnCrash(EXCEPTION_POINTERS *info) {
  std::printf("CRASH: exception 0x%08lX in variant %lld\n",
              static_cast<unsigned long>(info->ExceptionRecord->ExceptionCode),
              static_cast<long long>(g_currentVariant));
  std::fflush(stdout);
  ExitProcess(2);
}

inline DWORD WINAPI Watchdog(void *) {
  LARGE_INTEGER freq;
  QueryPerformanceFrequency(&freq);
  for (;;) {
    Sleep(500);
    const LONG64 start = g_stepStart;
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    if (start && now.QuadPart - start > 10 * freq.QuadPart) {
      std::printf("HANG: a step of variant %lld ran for more than 10 s\n",
                  static_cast<long long>(g_currentVariant));
      std::fflush(stdout);
      ExitProcess(3);
    }
  }
}

// Reports a crash or a step that does not end, naming the variant, and stops.
inline void GuardStressRun() {
  SetUnhandledExceptionFilter(OnCrash);
  CreateThread(nullptr, 0, Watchdog, nullptr, 0, nullptr);
}
