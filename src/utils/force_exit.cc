#include "utils/force_exit.h"

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "utils/log.h"

void vrn_force_exit() {
    // A dump of a process with large shared pages could fill the disk.
    const rlimit no_core{0, 0};
    if (setrlimit(RLIMIT_CORE, &no_core) != 0)
        VRN_LOG(VRN_LOG_WARNING, "Failed to disable core dumps");
    VRN_LOG(VRN_LOG_INFO, "Force exiting process with code (SIGKILL)");
    kill(getpid(), SIGKILL);
    // Reached only where the signal can't be sent.
    _exit(1);
}
