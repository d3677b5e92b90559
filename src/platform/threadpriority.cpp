#include "platform/threadpriority.h"

#include <cerrno>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

void standBack(Background level)
{
    const pid_t thread = ::gettid();
    if (level == Background::idle) {
        const sched_param none{};
        if (::sched_setscheduler(thread, SCHED_IDLE, &none) == 0)
            return;
    }
    const int wanted = level == Background::userInitiated ? 2 : level == Background::utility ? 8 : 19;
    errno = 0;
    const int now = ::getpriority(PRIO_PROCESS, id_t(thread));
    if (errno == 0 && now >= wanted)
        return;
    (void)::setpriority(PRIO_PROCESS, id_t(thread), wanted);
}
