#pragma once

// SIGTERM, SIGINT and SIGHUP end the event loop cleanly (so everything that
// runs at quit, such as giving the screenshot tool its folder back, still
// runs). The signal handler only writes a byte into a pipe; the event loop
// reads it and quits.
void quitOnTerminationSignals();
