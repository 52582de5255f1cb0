#pragma once

// The editor's colour for a value of 0.0..1.0, shared by the notes of the grid and the bars:
// dark red through red to yellow.

#include "toolkit/cbase.h"

// Painters use both alphas: the whole shape soft, then one pixel narrower opaque, which leaves a
// thin lighter edge on the right.
Plexel::CColor colorRamp(float value, bool opaque);
