#include "platform/threadpriority.h"

#include <cerrno>
#include <sys/resource.h>
#include <unistd.h>

void standBack(Background level)
{
    const pid_t thread = ::gettid();
    // Not SCHED_IDLE for recognition: the user asked for it, and on a machine
    // kept busy by something else it would never finish.
    const int wanted = level == Background::userInitiated ? 2 : level == Background::utility ? 8 : 15;
    errno = 0;
    const int now = ::getpriority(PRIO_PROCESS, id_t(thread));
    if (errno == 0 && now >= wanted)
        return;
    (void)::setpriority(PRIO_PROCESS, id_t(thread), wanted);
}
