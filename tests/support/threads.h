// Threads for the concurrency tests and benchmarks: start a callable on its
// own thread, and join with a bound.
#pragma once

#include <windows.h>
#include <process.h>

#include <vector>

namespace gvtest {

template <class F>
unsigned __stdcall RunBody(void *body) {
  (*static_cast<F *>(body))();
  return 0;
}

// Starts a thread running body(), which must outlive the thread.
template <class F>
HANDLE StartThread(F &body) {
  return reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, RunBody<F>, &body, 0, nullptr));
}

// Waits for every thread for at most timeoutMs in all and closes them;
// false when one was still running (it is left running).
inline bool JoinAll(std::vector<HANDLE> &threads, DWORD timeoutMs) {
  const DWORD start = GetTickCount();
  bool all = true;
  for (HANDLE t : threads) {
    const DWORD spent = GetTickCount() - start;
    const DWORD left = spent < timeoutMs ? timeoutMs - spent : 0;
    if (WaitForSingleObject(t, left) != WAIT_OBJECT_0) all = false;
    else CloseHandle(t);
  }
  threads.clear();
  return all;
}

// Every heap of the process is consistent.
inline bool ProcessHeapsValid() {
  HANDLE heaps[256];
  const DWORD n = GetProcessHeaps(256, heaps);
  for (DWORD i = 0; i < n && i < 256; ++i)
    if (!HeapValidate(heaps[i], 0, nullptr)) return false;
  return n > 0;
}

}  // namespace gvtest
