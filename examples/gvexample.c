/* A GVTALC client to start from: the version check, a setting of its own in
 * the registry, and the format of a WAVE file named on the command line.
 *   gvexample [FILE.wav]
 * Building it: see README.md. GVTALC.dll must sit beside gvexample.exe or in
 * a folder on PATH. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "gvtalc.h"

#define APP_NAME "GvExample"
#define APP_VERSION 0x01000000 /* 1.0: its settings live under ...\GvExample\1.0 */
#define METRIC_RUNS 1

/* Opens a WAVE file as an audio stream in float32, whatever it holds, and
 * prints its format and each channel's peak. */
static int show_wave(const char *path) {
  tGVWAVEINFO info;
  tGVAUDIOATTRIBS fileAttr;
  HGVAUDIOSTREAM stream = NULL;
  tGVCHANNELPEAK peaks[8];
  WAVEFORMATEX client;
  float block[4096];
  DWORD flags, done = 0, frames, c;
  char text[128];
  WAVEFORMATEX *wfx;

  memset(&info, 0, sizeof info);
  info.cbSize = sizeof info;
  wfx = GvGetFileWfxEx(path, &info);
  if (!wfx || wfx->nChannels > 8) {
    fprintf(stderr, "%s: not a PCM WAVE file this example reads\n", path);
    free(wfx);
    return 1;
  }
  GvAudio_GetAttribsText(wfx, text, sizeof text);
  printf("%s: %s, %lu frames\n", path, text, (unsigned long)info.nFrames);

  /* The file's format as an attributes record; the stream converts to the
   * client format (float32) on every read. */
  flags = wfx->wFormatTag == WAVE_FORMAT_IEEE_FLOAT ? GVAA_FLOAT32 : 0;
  if (wfx->wBitsPerSample == 8) flags |= GVAA_UNSIGNED8;
  if (wfx->wBitsPerSample == 24) flags |= GVAA_PACKED24;
  GvAudio_InitAttribs(&fileAttr, sizeof fileAttr, 0, flags, wfx->nSamplesPerSec,
                      wfx->wBitsPerSample, wfx->nChannels);
  client = *wfx;
  client.wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
  client.wBitsPerSample = 32;
  client.nBlockAlign = (WORD)(4 * wfx->nChannels);
  free(wfx);
  if (GvAudioStream_OpenFile(&stream, path, (DWORD)info.nDataOffset, (DWORD)info.nFrames,
                             (DWORD)(info.nFrames >> 32), &fileAttr, 32, GVAA_FLOAT32, 0,
                             GVAS_OPENREAD | GVAS_READONLY) != S_OK) {
    fprintf(stderr, "%s: cannot open as a stream\n", path);
    return 1;
  }
  /* One block's peaks; a real program would merge them over the whole file. */
  frames = (DWORD)(sizeof block / sizeof block[0]) / client.nChannels;
  GvAudioStream_Read(stream, block, frames, &done);
  GvAudioStream_Close(stream);
  if (GvAudio_FindPeaks(&client, 1, block, (int)done, peaks) == S_OK)
    for (c = 0; c < client.nChannels; ++c)
      printf("  channel %lu: peak %.3f in the first %lu frames\n", (unsigned long)c + 1,
             peaks[c].fPeak, (unsigned long)done);
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
