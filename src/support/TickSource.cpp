#include "support/TickSource.h"

#include <ctime>

namespace kestra {

std::uint64_t SystemTickSource::tickCount()
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    const auto ms = static_cast<std::uint64_t>(ts.tv_sec) * 1000u
                    + static_cast<std::uint64_t>(ts.tv_nsec) / 1000000u;
    return static_cast<std::uint32_t>(ms);
}

} // namespace kestra
