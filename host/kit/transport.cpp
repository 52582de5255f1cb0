#include "host/kit/transport.h"

#include <algorithm>
#include <cmath>

namespace hostkit
{
int32_t blockTicks(double tempo)
{
    const double ticks = static_cast<double>(kBlockSamples) / static_cast<double>(kSampleRate) *
                         (tempo / 60.0) * static_cast<double>(kTicksPerQuarter);
    return ticks >= 1.0 ? static_cast<int32_t>(std::floor(std::min(ticks, 1e9))) : 1;
}
} // namespace hostkit
