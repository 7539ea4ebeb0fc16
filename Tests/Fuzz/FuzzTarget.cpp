#include "Tests/Fuzz/FuzzTarget.h"

#include <cstddef>
#include <cstdint>

/// The fuzzer calls it by this name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    velto::fuzz({reinterpret_cast<const char*>(bytes), size});
    return 0;
}
