// The Mac's clock that goes on while the machine sleeps, in nanoseconds, as Linux has it.
#pragma once

#include <stdint.h>
#include <time.h>

struct mach_timebase_info_data_t {
    uint32_t numer;
    uint32_t denom;
};

inline void mach_timebase_info(mach_timebase_info_data_t* info) { *info = {1, 1}; }

inline uint64_t mach_continuous_time() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
}
