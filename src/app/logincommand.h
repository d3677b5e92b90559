#pragma once

#include <QString>

class LoginItem;

// `brindlewick --login on|off|<other>`: changes starting at login ("on"
// registers, "off" opts out and removes the entry, anything else changes
// nothing), prints the state on standard output and returns the exit
// status. Needs no display.
int runLoginCommand(LoginItem &item, const QString &argument);
