/// Any bytes as an envelope: the short reader gives what the full one gives, or leaves them to it.
#include <cstddef>
#include <cstdint>
#include <string>

#include "price_server/ps_common/connector/tests/envelope_twins.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // An exception that leaves this function is a finding.
    static_cast<void>(ps_ns::test::IsTakenAlike({reinterpret_cast<const char*>(data), size}));
    return 0;
}
