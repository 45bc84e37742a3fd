/*
 * gvgraph.h -- processing graphs: the graph builder object (IGVGraphBuilder),
 * its filters (IGVFilter), and saving graphs to, and making them from, COM
 * streams, memory blocks and open files.
 *
 * Making a graph. Ask the library's class, GV_CLSID_TALC (gvkernel.h), for
 * IGVGraphBuilder with CoCreateInstance (or through DllGetClassObject). Add
 * filters by class identifier (the GV_CLSID_GVF_* below), set their values,
 * connect an output pin of one to the input pin of the next, then Run.
 *
 * Running. Between filters the audio travels as 32-bit float buffers of the
 * source's channels and rate (until a filter changes them). The chain is cut
 * into as many runs of consecutive filters as there are processors (at most
 * four), each run on a queued-I/O worker of its own; buffers go from run to
 * run as queue nodes, several consecutive buffers a node, and every filter
 * works on its buffers one by one, in order. Every filter has at most one input pin
 * (pin 0) and one output pin (pin 0). A graph that runs is one chain: one
 * WAVE source at its head, every other filter fed by the one before, the
 * chain ending in a filter with nothing connected to its output. While it
 * runs the graph refuses changes (E_ACCESSDENIED).
 *
 * Persistent data (Save writes, Load reads exactly this, little-endian):
 *   1. 32-bit word: the layout version, 1;
 *   2. the graph's name: 32-bit byte length of the UTF-16 name with its
 *      terminating zero, then the name;
 *   3. 64-bit: the length of a buffer in 100 ns units (a new graph: 3000000,
 *      0.3 s; 1000 .. 327680000 is accepted);
 *   4. the graph's format, an 18-byte WAVEFORMATEX with cbSize 0 (below);
 *   5. three 32-bit words: the number of filters (at most GVGRAPH_MAXFILTERS),
 *      0, 0;
 *   6. per filter in list order: its 16-byte class identifier, then its own
 *      data (a 32-bit version word 1, then the filter's values as listed
 *      with each class);
 *   7. three 32-bit words: the number of connections, 0, 0;
 *   8. per connection: a 32-bit word 1, its UTF-16 label with a 32-bit byte
 *      length (empty: 2 bytes, the zero), a 32-bit size 16, then four 32-bit
 *      words: the list index of the feeding filter, its output pin, the list
 *      index of the fed filter, its input pin.
 * Load refuses (E_FAIL, the graph unchanged) a layout version other than 1,
 * a length that passes the end of the stream or a name longer than
 * GVGRAPH_MAXNAME characters, a name without its terminating zero, an
 * unknown filter class (CLASS_E_CLASSNOTAVAILABLE), a filter's data it
 * cannot read, and a connection naming a filter or pin that does not exist
 * or a pin already connected. It never reads past the stream's end.
 *
 * Threads: a graph and its filters are used from one thread at a time
 * (Run's workers are the library's own and touch no caller state).
 */
#ifndef GVGRAPH_H
#define GVGRAPH_H

#include "gvkernel.h"
#include <mmsystem.h>
#include <mmreg.h>

#define GVGRAPH_MAXFILTERS 64
#define GVGRAPH_MAXNAME 32767 /* characters, without the terminating zero */

/* IGVGraphBuilder, {C3B37CF4-E20F-11D0-8212-08002BE5D609}: GV_IID_IGVGRAPHBUILDER_INIT. */

/* Filter classes. Each filter's own data follows its version word. */
/* WAVE file source: reads a PCM or float WAVE file as 32-bit float.
 * Text GVFK_FILE. Data: the file name (UTF-16, 32-bit byte length). */
#define GV_CLSID_GVF_WAVESOURCE_INIT \
  { 0x5E0A7C01, 0x3B1D, 0x4C6E, { 0x9A, 0x10, 0x47, 0x56, 0x47, 0x52, 0x41, 0x01 } }
/* WAVE file sink: writes what reaches it as a WAVE file. Text GVFK_FILE;
 * GVFK_BITS 8, 16 (new), 24 or 32; GVFK_FLOAT 1 for 32-bit float. The file
 * is made under a temporary name beside the target and renamed over it only
 * when the run is complete. Data: file name, bits, float (32-bit words). */
#define GV_CLSID_GVF_WAVESINK_INIT \
  { 0x5E0A7C02, 0x3B1D, 0x4C6E, { 0x9A, 0x10, 0x47, 0x56, 0x47, 0x52, 0x41, 0x02 } }
/* Gain: multiplies every sample by the float 10^(GVFK_GAIN/20), GVFK_GAIN
 * in dB, -200 .. 200 (new: 0). Data: the gain, a 64-bit double. */
#define GV_CLSID_GVF_GAIN_INIT \
  { 0x5E0A7C03, 0x3B1D, 0x4C6E, { 0x9A, 0x10, 0x47, 0x56, 0x47, 0x52, 0x41, 0x03 } }
/* Sample format and channel change: GVFK_CHANNELS 1 sums the channels to
 * mono, 2 spreads mono to both, 0 (new) keeps them; GVFK_BITS 8, 16, 24 or
 * 32 rounds the samples to that integer type and back (as a sink of those
 * bits would store them), 0 (new) keeps float. Data: channels, bits. */
#define GV_CLSID_GVF_FORMAT_INIT \
  { 0x5E0A7C04, 0x3B1D, 0x4C6E, { 0x9A, 0x10, 0x47, 0x56, 0x47, 0x52, 0x41, 0x04 } }
/* Resampler: changes the rate to GVFK_RATE samples a second, 1000 .. 768000
 * (new: 44100), by the streaming interpolation of gvresample.h
 * (GVRESAMPLE_STREAM), its position and last frame carried from buffer to
 * buffer, so the output is that of one GvAudio_ResampleEx call per buffer
 * on one instance; the same rate passes unchanged. At most
 * GVRESAMPLE_MAXSTREAMCHANNELS channels. Data: the rate (32-bit word). */
#define GV_CLSID_GVF_RESAMPLE_INIT \
  { 0x5E0A7C05, 0x3B1D, 0x4C6E, { 0x9A, 0x10, 0x47, 0x56, 0x47, 0x52, 0x41, 0x05 } }
/* IIR stage: GVFK_TYPE GVIIR_LOWSHELF, GVIIR_HISHELF or GVIIR_BAND (new),
 * GVFK_FREQ in Hz, 1 .. 384000 (new: 1000), GVFK_GAIN in dB, -60 .. 60
 * (new: 0), GVFK_Q 0.1 .. 100 (new: 1). At the start of a run the
 * coefficients are designed for the stream's rate (request dFreq =
 * GVFK_FREQ / rate) by the gviir.h routine of the type, a shelf's cut
 * routine for a negative gain and its boost routine otherwise, and run as
 * gviir.h describes (two passes, per-channel state kept across buffers,
 * computed in doubles, stored as float). Data: the type (32-bit word),
 * then frequency, gain and Q (64-bit doubles). */
#define GV_CLSID_GVF_IIR_INIT \
  { 0x5E0A7C06, 0x3B1D, 0x4C6E, { 0x9A, 0x10, 0x47, 0x56, 0x47, 0x52, 0x41, 0x06 } }
/* Peak writer: passes its audio on unchanged and writes the peak file of
 * the sound file GVFK_FILE names (beside it, as gvpeak.h names it; made
 * anew, element size from kernel setting 200). The file is made under a
 * temporary name in that folder and renamed over the peak file's name only
 * when the run is complete; Run fails (E_FAIL) when that folder cannot be
 * written. Data: the file name. */
#define GV_CLSID_GVF_PEAKWRITER_INIT \
  { 0x5E0A7C07, 0x3B1D, 0x4C6E, { 0x9A, 0x10, 0x47, 0x56, 0x47, 0x52, 0x41, 0x07 } }

/* Value keys of IGVFilter. */
#define GVFK_FILE 1     /* text */
#define GVFK_GAIN 2     /* dB */
#define GVFK_BITS 3
#define GVFK_FLOAT 4
#define GVFK_CHANNELS 5
#define GVFK_RATE 6
#define GVFK_TYPE 7
#define GVFK_FREQ 8     /* Hz */
#define GVFK_Q 9

#define GVIIR_LOWSHELF 1
#define GVIIR_HISHELF 2
#define GVIIR_BAND 3

/* One connection, as IGVGraphBuilder::GetConnection gives it: list indexes
 * of the two filters and their pins. */
typedef struct tGVGRAPHCONNECTION {
  DWORD fromFilter;
  DWORD fromPin;
  DWORD toFilter;
  DWORD toPin;
} tGVGRAPHCONNECTION;

/* How far a run has come: frames read from the source and the source's
 * length in frames. */
typedef struct tGVGRAPHPROGRESS {
  ULONGLONG framesDone;
  ULONGLONG framesTotal;
} tGVGRAPHPROGRESS;

/* IGVFilter, {5E0A7C00-3B1D-4C6E-9A10-475647524100}: what a filter answers
 * QueryInterface for, besides IUnknown. */
#define GV_IID_IGVFILTER_INIT \
  { 0x5E0A7C00, 0x3B1D, 0x4C6E, { 0x9A, 0x10, 0x47, 0x56, 0x47, 0x52, 0x41, 0x00 } }

/* A filter. Its first eight slots are those of a persistent stream object:
 * GetClassID gives its GV_CLSID_GVF_*, Save writes its data (version word
 * and values, without the class identifier), Load reads them (E_FAIL for
 * data it cannot read or values out of range), IsDirty is S_OK when it
 * changed since it was last saved with clearDirty or loaded, else S_FALSE. */
#undef INTERFACE
#define INTERFACE IGVFilter
DECLARE_INTERFACE_(IGVFilter, IUnknown)
{
  STDMETHOD(QueryInterface)(THIS_ REFIID iid, void **result) PURE;
  STDMETHOD_(ULONG, AddRef)(THIS) PURE;
  STDMETHOD_(ULONG, Release)(THIS) PURE;
  STDMETHOD(GetClassID)(THIS_ CLSID *clsid) PURE;
  STDMETHOD(IsDirty)(THIS) PURE;
  STDMETHOD(Load)(THIS_ IStream *stream) PURE;
  STDMETHOD(Save)(THIS_ IStream *stream, BOOL clearDirty) PURE;
  STDMETHOD(GetSizeMax)(THIS_ ULARGE_INTEGER *size) PURE;
  /* Number of input and output pins (0 or 1 each); either may be null. */
  STDMETHOD(GetPins)(THIS_ DWORD *inputs, DWORD *outputs) PURE;
  /* A number value. E_INVALIDARG for a key the class does not have or a
   * value out of its range (the value is then unchanged). */
  STDMETHOD(SetValue)(THIS_ DWORD key, double value) PURE;
  STDMETHOD(GetValue)(THIS_ DWORD key, double *value) PURE;
  /* A text value (GVFK_FILE), at most MAX_PATH - 1 characters. GetText
   * copies it with its zero into `text` of `chars` characters;
   * E_INVALIDARG when it does not fit or the key is not the class's. */
  STDMETHOD(SetText)(THIS_ DWORD key, LPCWSTR text) PURE;
  STDMETHOD(GetText)(THIS_ DWORD key, LPWSTR text, DWORD chars) PURE;
};
#undef INTERFACE

/* The graph builder. GetClassID gives GV_CLSID_TALC; Save(stream,
 * clearDirty) writes the persistent data above; Load reads it; GetSizeMax
 * gives its exact size; IsDirty is S_OK after a change not yet saved with
 * clearDirty (a filter's own changes count), else S_FALSE. */
#define INTERFACE IGVGraphBuilder
DECLARE_INTERFACE_(IGVGraphBuilder, IUnknown)
{
  STDMETHOD(QueryInterface)(THIS_ REFIID iid, void **result) PURE;
  STDMETHOD_(ULONG, AddRef)(THIS) PURE;
  STDMETHOD_(ULONG, Release)(THIS) PURE;
  STDMETHOD(GetClassID)(THIS_ CLSID *clsid) PURE;
  STDMETHOD(IsDirty)(THIS) PURE;
  STDMETHOD(Load)(THIS_ IStream *stream) PURE;
  STDMETHOD(Save)(THIS_ IStream *stream, BOOL clearDirty) PURE;
  STDMETHOD(GetSizeMax)(THIS_ ULARGE_INTEGER *size) PURE;
  /* The graph's name (new: empty), at most GVGRAPH_MAXNAME characters.
   * GetName copies it with its zero into `name` of `chars` characters and
   * stores the characters needed (with the zero) in `needed` (may be null);
   * E_INVALIDARG when it does not fit. */
  STDMETHOD(SetName)(THIS_ LPCWSTR name) PURE;
  STDMETHOD(GetName)(THIS_ LPWSTR name, DWORD chars, DWORD *needed) PURE;
  /* The format of the buffers between filters: 32-bit float (tag 3) is the
   * only one accepted; a new graph holds 2 channels at 44100 Hz, which are
   * the figures of a graph without a source (a running graph takes them
   * from its source). E_INVALIDARG for any other record. */
  STDMETHOD(SetFormat)(THIS_ const WAVEFORMATEX *format) PURE;
  STDMETHOD(GetFormat)(THIS_ WAVEFORMATEX *format) PURE;
  /* The length of the buffers a run reads from its source, in 100 ns units
   * (a new graph: 3000000, 0.3 s); 1000 .. 327680000 (32768 frames at
   * 1000 Hz), else E_INVALIDARG.
   * A buffer holds at least one frame. */
  STDMETHOD(SetBufferTime)(THIS_ ULONGLONG time) PURE;
  STDMETHOD_(ULONGLONG, GetBufferTime)(THIS) PURE;
  /* Adds a new filter of `clsid` at the end of the list; *filter (may be
   * null) receives it with a reference the caller releases.
   * CLASS_E_CLASSNOTAVAILABLE for an unknown class, E_FAIL when the list
   * holds GVGRAPH_MAXFILTERS, E_OUTOFMEMORY. */
  STDMETHOD(AddFilter)(THIS_ REFCLSID clsid, IGVFilter **filter) PURE;
  /* Removes the filter and its connections. E_INVALIDARG when it is not
   * in this graph. */
  STDMETHOD(RemoveFilter)(THIS_ IGVFilter *filter) PURE;
  STDMETHOD_(DWORD, GetFilterCount)(THIS) PURE;
  /* *filter receives the filter at `index` with a reference; E_INVALIDARG
   * past the end (*filter null). */
  STDMETHOD(GetFilter)(THIS_ DWORD index, IGVFilter **filter) PURE;
  /* Connects output pin `fromPin` of `from` to input pin `toPin` of `to`.
   * E_INVALIDARG when a filter is not in this graph, a pin does not exist,
   * a filter would feed itself, or a pin is already connected. */
  STDMETHOD(Connect)(THIS_ IGVFilter *from, DWORD fromPin, IGVFilter *to, DWORD toPin) PURE;
  /* Removes the connection from that output pin; S_FALSE when there was none. */
  STDMETHOD(Disconnect)(THIS_ IGVFilter *from, DWORD fromPin) PURE;
  STDMETHOD_(DWORD, GetConnectionCount)(THIS) PURE;
  STDMETHOD(GetConnection)(THIS_ DWORD index, tGVGRAPHCONNECTION *connection) PURE;
  /* Starts running the graph on the library's worker threads and returns.
   * E_FAIL when the graph is not one chain from a source (above) or a file
   * cannot be opened; E_ACCESSDENIED while it runs already. */
  STDMETHOD(Run)(THIS) PURE;
  /* Waits up to `milliseconds` (INFINITE allowed) for the run to end.
   * S_FALSE while it goes on, else the run's result: S_OK when every
   * filter finished, a failure code when one failed or it was stopped
   * (E_ABORT). `progress` (may be null) receives how far it came. Without
   * a run, the last run's result (S_OK before any). */
  STDMETHOD(Wait)(THIS_ DWORD milliseconds, tGVGRAPHPROGRESS *progress) PURE;
  /* Stops a run and waits until its threads have ended; the sinks' and
   * peak writers' unfinished files are deleted, nothing appears under their
   * targets' names. S_FALSE when nothing ran. */
  STDMETHOD(Stop)(THIS) PURE;
};
#undef INTERFACE

/* ---- Persistence ------------------------------------------------------- */
/* Stream form: the graph's class identifier (WriteClassStm), then its data.
 * Memory and file form: a 32-bit length of the stream form, then it. */

/* Writes the class identifier, then graph->Save(stream, TRUE). The first
 * failure, else Save's result. */
GVAPI(HRESULT) GvGraph_SaveToStream(IGVGraphBuilder *graph, IStream *stream);
/* Reads a class identifier, makes that object with CoCreateInstance as
 * IGVGraphBuilder into *graph, then returns its Load(stream). When Load
 * fails the object stays in *graph: release it. A class nobody serves gives
 * CoCreateInstance's failure. */
GVAPI(HRESULT) GvGraph_CreateFromStream(IGVGraphBuilder **graph, IStream *stream);
/* The memory form in a new block: *block is locked moveable global memory
 * (free with GlobalUnlock and GlobalFree of its GlobalHandle), *size its
 * bytes. E_OUTOFMEMORY, or the failing stream call's result. */
GVAPI(HRESULT) GvGraph_SaveToMem(IGVGraphBuilder *graph, void **block, DWORD *size);
/* *graph is set to null, then a graph is made from the memory form in
 * `block`; the length is its first word (`size` is not used). When `block`
 * is global memory, a length past its end is refused (E_FAIL). Else
 * CreateFromStream's result: when Load fails the object stays in *graph:
 * release it. */
GVAPI(HRESULT) GvGraph_CreateFromMem(IGVGraphBuilder **graph, void *block, DWORD size);
/* Writes the memory form at the file's position; *written receives the
 * bytes written. S_OK once the stream work succeeded (WriteFile's result is
 * not looked at: compare *written). */
GVAPI(HRESULT) GvGraph_SaveToFile(IGVGraphBuilder *graph, HANDLE file, DWORD *written);
/* *graph is set to null, then one memory form is read from the file's
 * position. S_FALSE (not a failure code) when the length or the data
 * cannot be read; E_OUTOFMEMORY with the file positioned after the graph's
 * data; else CreateFromStream's result: when Load fails the object stays in
 * *graph: release it. Callers test for S_OK. */
GVAPI(HRESULT) GvGraph_CreateFromFile(IGVGraphBuilder **graph, HANDLE file);

#endif /* GVGRAPH_H */
