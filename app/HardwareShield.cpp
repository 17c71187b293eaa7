#include "app/HardwareShield.h"

#include <csignal>

void shieldHardwareRun()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGHUP, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}
