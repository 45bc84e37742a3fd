// PNG output of waveform pictures: encoded in memory by stb_image_write,
// written under a temporary name beside the target and renamed when complete.
#include "waveform.h"

#include <stb/stb_image_write.h>

#include <vector>

#include "commands.h"

namespace gvtool {

bool WritePng(const std::string &path, const Picture &pic) {
  std::vector<unsigned char> png;
  auto append = [](void *context, void *data, int size) {
    auto *out = static_cast<std::vector<unsigned char> *>(context);
    out->insert(out->end(), static_cast<unsigned char *>(data),
                static_cast<unsigned char *>(data) + size);
  };
  if (!stbi_write_png_to_func(append, &png, pic.width(), pic.height(), 3, pic.data(),
                              pic.width() * 3)) {
    Error("%s: out of memory encoding the picture", path.c_str());
    return false;
  }
  // In the target's folder, so the rename stays on one volume.
  const size_t slash = path.find_last_of("\\/:");
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  char temp[MAX_PATH];
  bool ok = GetTempFileNameA(folder.c_str(), "gvt", 0, temp) != 0;
  DWORD error = ok ? 0 : GetLastError();
  if (ok) {
    HANDLE h = CreateFileA(temp, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                           nullptr);
    DWORD put = 0;
    ok = h != INVALID_HANDLE_VALUE && WriteFile(h, png.data(), DWORD(png.size()), &put, nullptr) &&
         put == png.size();
    error = ok ? 0 : GetLastError();
    if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
    if (ok && !MoveFileExA(temp, path.c_str(), MOVEFILE_REPLACE_EXISTING)) {
      ok = false;
      error = GetLastError();
    }
    if (!ok) DeleteFileA(temp);
  }
  if (!ok) IoError(path, error);
  return ok;
}

}  // namespace gvtool
