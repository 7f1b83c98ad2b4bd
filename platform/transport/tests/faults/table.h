/// The accounts of the scenarios that ran, printed when all have.
#pragma once

#include "scenario.h"

namespace test {

/// As text, or as JSON, one object a line, when the environment variable QX_FAULT_TABLE is "json".
void print_later(const Account& account);

} // namespace test
