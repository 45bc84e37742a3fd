// The peak writer: passes its audio on and summarises it into the peak file
// of the sound file it names, whole elements at a time; the last, shorter
// element is written when the run completes. Like the sink it writes under a
// temporary name beside its target and renames over the target only then,
// so an old peak file stays whole until it is replaced.
#include <cstring>
#include <new>

#include "files/peak.h"
#include "graph/filters.h"
#include "include/gvpeak.h"

namespace gv::graph {

namespace {

const CLSID kPeak = GV_CLSID_GVF_PEAKWRITER_INIT;

class PeakWriter final : public Filter {
 public:
  PeakWriter() : Filter(kPeak, {{GVFK_FILE, FieldKind::Text, 0, 0, 0, {}}}, 1, 1) {}
  ~PeakWriter() override { Finish(false); }

  HRESULT Start(Flow *flow) override {
    if (Text().empty() || !flow->channels) return E_FAIL;
    const std::string name = Narrow(Text());
    if (GvPeak_CreateDirectPeakName(name.c_str(), target_, MAX_PATH) != S_OK) return E_FAIL;
    // A temporary peak file in the target's folder, never anywhere else:
    // one in the system's temporary folder could not be renamed into place.
    if (GvPeak_CreateExNew(&peak_, flow->channels, TRUE, name.c_str(), -1,
                           FolderOf(name).c_str()) != 0)
      return E_FAIL;
    per_ = GvPeak_GetCellsPerElementEx(peak_);
    wfx_ = WAVEFORMATEX{};
    wfx_.wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
    wfx_.nChannels = WORD(flow->channels);
    wfx_.nSamplesPerSec = flow->rate;
    wfx_.wBitsPerSample = 32;
    wfx_.nBlockAlign = WORD(4 * flow->channels);
    wfx_.nAvgBytesPerSec = flow->rate * wfx_.nBlockAlign;
    held_.Reserve(per_, flow->channels);
    heldFrames_ = 0;
    return S_OK;
  }

  HRESULT Process(Audio &audio) override {
    const DWORD ch = wfx_.nChannels;
    const float *p = audio.data();
    DWORD left = audio.frames;
    if (heldFrames_) {  // complete the element begun by the last buffer
      const DWORD take = left < per_ - heldFrames_ ? left : per_ - heldFrames_;
      std::memcpy(held_.data() + size_t(heldFrames_) * ch, p, size_t(take) * ch * 4);
      heldFrames_ += take, p += size_t(take) * ch, left -= take;
      if (heldFrames_ < per_) return S_OK;
      if (FAILED(GvPeak_WritePeakData(peak_, &wfx_, held_.data(), per_))) return E_FAIL;
      heldFrames_ = 0;
    }
    const DWORD whole = left - left % per_;
    if (whole && FAILED(GvPeak_WritePeakData(peak_, &wfx_, p, whole))) return E_FAIL;
    p += size_t(whole) * ch, left -= whole;
    std::memcpy(held_.data(), p, size_t(left) * ch * 4);
    heldFrames_ = left;
    return S_OK;
  }

  HRESULT Finish(bool complete) override {
    if (!peak_) return S_OK;
    bool ok = complete;
    if (ok && heldFrames_) ok = SUCCEEDED(GvPeak_WritePeakData(peak_, &wfx_, held_.data(), heldFrames_));
    char temp[MAX_PATH];
    lstrcpynA(temp, GvPeak_GetFileName(peak_), MAX_PATH);
    // Kept, it is no longer temporary: freeing stamps it with the finished
    // sound file's date instead of deleting it. Not kept, it is deleted.
    if (ok) peak_->temporary = 0;
    GvPeak_FreeEx(peak_, !ok);
    peak_ = nullptr;
    if (!complete) return S_OK;
    if (!ok) return E_FAIL;
    if (MoveFileExA(temp, target_, MOVEFILE_REPLACE_EXISTING)) return S_OK;
    const DWORD e = GetLastError();
    DeleteFileA(temp);
    return e ? HRESULT_FROM_WIN32(e) : E_FAIL;
  }

 private:
  tGVAUDIOPEAK *peak_ = nullptr;
  char target_[MAX_PATH] = {};  // the peak file's own name
  WAVEFORMATEX wfx_{};
  DWORD per_ = 1;
  Audio held_;
  DWORD heldFrames_ = 0;
};

}  // namespace

Filter *NewPeakWriter() { return new (std::nothrow) PeakWriter; }

}  // namespace gv::graph
