#pragma once

#include <QPalette>

// A dark colour scheme in the desktop's own roles, for looking at the
// windows where the desktop offers none (a bare X server): the program never
// picks its colours itself, so this is what a dark desktop hands it.
QPalette darkPalette();
