// Shared pieces of the format classification and text functions.
#pragma once

#include <windows.h>

namespace gv::audio {

// Sample type of a (format tag, bits per sample) pair.
DWORD SampleTypeOf(WORD tag, WORD bits);

// Label of a PCM-family tag, or null for any other tag.
const char *PcmFamilyLabel(DWORD tag);

// Copies text into out (at most cch bytes, the rest zero-filled) and always
// terminates out[cch-1]; a null out or a zero cch writes nothing.
void CopyText(const char *text, LPSTR out, UINT cch);

}  // namespace gv::audio
