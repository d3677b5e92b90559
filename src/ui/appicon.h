#pragma once

#include <QIcon>

// The program's icon (tray, windows, about box): the one installed into the
// icon theme, or the same SVG built in when running from the build folder.
QIcon appIcon();
