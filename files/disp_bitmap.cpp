// A bitmap made from the CF_DIB DISP chunk of a RIFF file.
#include "files/info.h"
#include "files/riff_io.h"

namespace gv::info {
namespace {

// Bytes of the colour table that follows a header.
uint64_t ColourTableBytes(const BITMAPINFOHEADER &h) {
  uint64_t colours = h.biClrUsed;
  if (colours == 0 && h.biBitCount <= 8) colours = uint64_t{1} << h.biBitCount;
  uint64_t bytes = colours * sizeof(RGBQUAD);
  if (h.biCompression == BI_BITFIELDS && h.biSize == sizeof h) bytes += 12;
  return bytes;
}

// Bytes of the bits of an uncompressed bitmap.
uint64_t BitsBytes(const BITMAPINFOHEADER &h) {
  const uint64_t stride = ((uint64_t(h.biWidth) * h.biBitCount + 31) / 32) * 4;
  const uint64_t rows = h.biHeight < 0 ? uint64_t(-int64_t(h.biHeight)) : uint64_t(h.biHeight);
  return stride * rows;
}

HBITMAP FromDib(const BYTE *dib, DWORD size) {
  if (size < sizeof(BITMAPINFOHEADER)) return nullptr;
  const auto *h = reinterpret_cast<const BITMAPINFOHEADER *>(dib);
  if (h->biSize < sizeof(BITMAPINFOHEADER) || h->biSize > size || h->biWidth <= 0 ||
      h->biHeight == 0 || h->biPlanes != 1 || h->biWidth > 0x10000 || h->biHeight > 0x10000 ||
      h->biHeight < -0x10000)
    return nullptr;
  switch (h->biBitCount) {
    case 1: case 4: case 8: case 16: case 24: case 32: break;
    default: return nullptr;
  }
  const uint64_t offset = h->biSize + ColourTableBytes(*h);
  uint64_t bits = BitsBytes(*h);
  if (h->biCompression == BI_RLE8 || h->biCompression == BI_RLE4) bits = h->biSizeImage;
  else if (h->biCompression != BI_RGB && h->biCompression != BI_BITFIELDS) return nullptr;
  if (offset > size || bits > size - offset) return nullptr;
  HDC screen = GetDC(nullptr);
  HBITMAP bitmap = CreateDIBitmap(screen, h, CBM_INIT, dib + offset,
                                  reinterpret_cast<const BITMAPINFO *>(dib), DIB_RGB_COLORS);
  ReleaseDC(nullptr, screen);
  return bitmap;
}

}  // namespace

HBITMAP BitmapFromFile(const char *fileName) {
  HANDLE file = CreateFileA(fileName, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return nullptr;
  HBITMAP bitmap = nullptr;
  DWORD riffSize = 0, form = 0;
  if (riff_ReadFileID(file, &riffSize, &form) == S_OK) {
    tGVDISPITEM entry = {CF_DIB, 0, nullptr};
    tGVDISPLIST list = {1, &entry};
    LONG budget = static_cast<LONG>(riffSize);
    if (budget > 0 && displist_Load(file, &list, &budget) == S_OK && entry.pData)
      bitmap = FromDib(static_cast<const BYTE *>(entry.pData), entry.cbData);
    displist_Free(&list);
  }
  CloseHandle(file);
  return bitmap;
}

}  // namespace gv::info

GVAPI(HBITMAP) displist_CreateBitmapFromFile(LPCSTR fileName) {
  if (!fileName) return nullptr;
  return gv::info::BitmapFromFile(fileName);
}
