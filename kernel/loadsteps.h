// Steps of the load and unload sequences that belong to other families.
// Each family defines its own; kernel/standins.cpp holds those of families
// not built yet, which report success and do nothing.
#pragma once

#include <windows.h>

namespace gv {

// Formatter token table and international settings (load step 4).
HRESULT TextServices_Init();
void TextServices_Term();

// The library's own language module (load step 5).
HRESULT Language_OpenOwn(void **handle, HINSTANCE module);
void Language_Close(void *handle);

// Interface colours, drawing objects and controls (load step 6).
void UiColours_Load();
void UiDrawingObjects_Release();
BOOL Controls_Init();
void Controls_Term();

// Summary item table of the INFO/DISP lists (load step 9).
void Summary_LoadResources();
void Summary_FreeResources();

}  // namespace gv
