#pragma once

// How far a background thread stands back for the GUI thread. Qt's thread
// priorities change nothing for ordinary Linux threads (every SCHED_OTHER
// thread has the same static priority), so on two busy cores the GUI thread
// would wait its turn behind a scan or a metadata load; a thread's own nice
// value is what the scheduler weighs.
enum class Background {
    userInitiated, // thumbnails the user is looking at
    utility,       // listings, metadata reads and writes, file work
    idle,          // text recognition: after everything else
};

// Lowers the calling thread to `level`. A thread is never raised again, so
// a pool's threads keep the lowest level any of its tasks asked for.
void standBack(Background level);
