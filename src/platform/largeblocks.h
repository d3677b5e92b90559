#pragma once

// Thumbnails (about 1.5 MB each) are made on pool threads and dropped by the
// GUI thread when the in-memory cache lets them go. By default the C library
// raises its threshold for giving a block its own mapping to the largest
// block freed so far, so after the first few thumbnails they come out of the
// pool threads' arenas, and those dropped leave holes that stay resident (a
// fifth more than the cache's budget at the peak of a folder's first fill).
// Keeping the threshold where it starts, every block of 128 KB or more is
// mapped on its own and goes back to the system the moment it is freed.
// Process-wide: called once at start, before any thread.
void returnLargeBlocksWhenFreed();
