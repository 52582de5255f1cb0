#include "host/stopsignals.h"

#include <csignal>

namespace hostkit
{
namespace
{
volatile std::sig_atomic_t stopAsked = 0;

extern "C" void onStopSignal(int)
{
    stopAsked = 1;
}
} // namespace

StopSignals::StopSignals()
{
    stopAsked = 0;
    previous[0] = std::signal(SIGINT, onStopSignal);
    previous[1] = std::signal(SIGTERM, onStopSignal);
#ifdef SIGHUP
    // A closed terminal asks as politely as a kill does.
    previous[2] = std::signal(SIGHUP, onStopSignal);
#endif
}

StopSignals::~StopSignals()
{
    std::signal(SIGINT, previous[0]);
    std::signal(SIGTERM, previous[1]);
#ifdef SIGHUP
    std::signal(SIGHUP, previous[2]);
#endif
}

bool StopSignals::raised()
{
    return stopAsked != 0;
}
} // namespace hostkit
