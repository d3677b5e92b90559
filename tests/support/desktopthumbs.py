#!/usr/bin/python3
# Drives the GNOME desktop's thumbnail factory, a real writer and reader of
# the shared thumbnail folder ($XDG_CACHE_HOME/thumbnails), for the tests.
#   uri PATH                          the URI GLib makes of PATH
#   save LEVEL PIXELS-FROM URI MTIME  thumbnails PIXELS-FROM and stores it as URI's
#   lookup LEVEL URI MTIME            the entry the factory accepts for URI, if any
import sys

import gi

gi.require_version("GnomeDesktop", "3.0")
from gi.repository import GLib, GnomeDesktop  # noqa: E402

LEVELS = {
    "normal": GnomeDesktop.DesktopThumbnailSize.NORMAL,
    "large": GnomeDesktop.DesktopThumbnailSize.LARGE,
    "x-large": GnomeDesktop.DesktopThumbnailSize.XLARGE,
    "xx-large": GnomeDesktop.DesktopThumbnailSize.XXLARGE,
}

command = sys.argv[1]
if command == "uri":
    print(GLib.filename_to_uri(sys.argv[2]))
    sys.exit(0)
factory = GnomeDesktop.DesktopThumbnailFactory.new(LEVELS[sys.argv[2]])
if command == "save":
    source, uri, mtime = sys.argv[3], sys.argv[4], int(sys.argv[5])
    pixbuf = factory.generate_thumbnail(GLib.filename_to_uri(source), "image/png", None)
    factory.save_thumbnail(pixbuf, uri, mtime, None)
elif command == "lookup":
    found = factory.lookup(sys.argv[3], int(sys.argv[4]))
    if found:
        print(found)
