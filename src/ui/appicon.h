#pragma once

#include <QIcon>

// The program's icon (tray, windows, about box): a small stack of two
// photos, drawn rather than shipped so it is sharp at every size.
QIcon appIcon();
