#include <cstdlib>

#include <gtest/gtest.h>

#include <lbm/triage_handler.h>

namespace {

class TriageOff : public ::testing::Environment {
public:
    void SetUp() override
    {
        ::setenv("DISABLE_LBM_TRIAGE_HANDLER", "1", 1);
        lbm::LbmTriageHandler::getInstance();
    }
};

// Owned by GoogleTest.
[[maybe_unused]] const ::testing::Environment* const registered = ::testing::AddGlobalTestEnvironment(new TriageOff);

} // namespace
