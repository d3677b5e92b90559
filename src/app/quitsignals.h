#pragma once

class MetaStore;
class TextIndexer;

// SIGTERM, SIGINT and SIGHUP end the event loop cleanly (so everything that
// runs at quit, such as giving the screenshot tool its folder back, still
// runs). The signal handler only writes a byte into a pipe; the event loop
// reads it and quits.
void quitOnTerminationSignals();

// Ends the event loop whatever windows are open (the menus' Quit uses it too).
void quitNow();

// Nothing is lost when the program ends: the text recognised so far goes into
// the store and unsaved records are written at once, on the GUI thread, in a
// few seconds at most. This happens when the event loop quits (menus, the
// signals above; the recognition in hand is abandoned), when the session ends
// (the session manager's commit-data request; recognition goes on, since the
// logout may yet be cancelled), and at exit() from inside the event loop (Qt
// ends the process that way when the display goes away).
void saveOnQuit(MetaStore &store, TextIndexer &indexer);
