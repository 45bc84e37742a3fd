/* A GVTALC client to start from: the version check, a setting of its own in
 * the registry, and the format of a WAVE file named on the command line.
 *   gvexample [FILE.wav]
 * Building it: see README.md. GVTALC.dll must sit beside gvexample.exe or in
 * a folder on PATH. */
#include <stdio.h>
#include <string.h>

#include "gvtalc.h"

#define APP_NAME "GvExample"
#define APP_VERSION 0x01000000 /* 1.0: its settings live under ...\GvExample\1.0 */
#define METRIC_RUNS 1

/* Prints the format of a WAVE file: finds its "fmt " chunk through the RIFF
 * layer and has the library describe it. */
static int show_wave(const char *path) {
  WAVEFORMATEX wfx;
  DWORD size = 0;
  char text[128];
  HRESULT hr;
  HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, NULL, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, NULL);
  if (file == INVALID_HANDLE_VALUE) {
    fprintf(stderr, "%s: cannot open\n", path);
    return 1;
  }
  memset(&wfx, 0, sizeof wfx);
  hr = riff_FindChunkHeaderInRIFF(file, GVRIFF_FOURCC('f', 'm', 't', ' '), &size, NULL);
  if (hr == S_OK) hr = riff_ReadDataBounded(file, &wfx, sizeof wfx, size);
  CloseHandle(file);
  if (hr != S_OK) {
    fprintf(stderr, "%s: no WAVE format found (0x%08lX)\n", path, (unsigned long)hr);
    return 1;
  }
  GvAudio_GetAttribsText(&wfx, text, sizeof text);
  printf("%s: %s\n", path, text);
  return 0;
}

int main(int argc, char **argv) {
  HGVMETRIC settings = NULL;
  DWORD runs;
  char text[64];

  /* First of all: is the installed library new enough? If not, the user has
   * been told why. */
  if (GvKernel_CheckVersion(NULL, "GVTALC example", GVKERNEL_VERSION, GVKERNEL_INTERFACE_LEVEL,
                            0) != S_OK)
    return 1;
  printf("kernel %08lX\n", (unsigned long)GvKernel_GetVersion());

  /* A per-user setting: how often this example has run. */
  if (GvMetric_Open(&settings, APP_NAME, APP_VERSION, NULL) != S_OK) return 1;
  runs = GvGetMetric(settings, METRIC_RUNS) + 1;
  GvSetMetric(settings, METRIC_RUNS, runs);
  GvMetric_Close(settings);
  GvPrintF(text, "run $d", (int)runs); /* $ groups thousands */
  printf("%s\n", text);

  return argc > 1 ? show_wave(argv[1]) : 0;
}
