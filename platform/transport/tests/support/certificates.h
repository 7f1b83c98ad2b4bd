/// Identities and a signed policy, made afresh by scripts/make-test-certificates.sh.
#pragma once

#include <string>

#include "context_fixture.h"

namespace test {

/// A folder of its own, removed by the destructor. Throws std::runtime_error when it cannot be made.
class Certificates {
public:
    Certificates();
    ~Certificates();
    Certificates(const Certificates&) = delete;
    Certificates& operator=(const Certificates&) = delete;

    std::string path(const std::string& file) const { return folder_ + "/" + file; }

    /// The options of a context that has one of the script's identities.
    OptionList options(const std::string& identity) const;

    /// The same, with a policy that the identity itself has signed and that guards nothing. Its own engine takes it,
    /// being told to trust whatever the authority of identities has certified.
    OptionList self_permitted(const std::string& identity) const;

private:
    std::string folder_;
};

} // namespace test
