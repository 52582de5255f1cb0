#pragma once

// The colours of an entry field come from its parent's window procedure: the frame's asks here.

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace Plexel
{

// The brush for an edit control of the toolkit, with the colours set on dc; null for any other.
HBRUSH textFieldColours(HWND edit, HDC dc);

} // namespace Plexel
