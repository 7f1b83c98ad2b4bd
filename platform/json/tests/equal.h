#pragma once

#include <libjson.h>

#include <gtest/gtest.h>

namespace qx::test {

/// Whether two trees are the same: type, name, text and children of every node.
inline testing::AssertionResult equal(const JSONNode& a, const JSONNode& b)
{
    if (a.type() != b.type() || a.name() != b.name() || a.as_string() != b.as_string() || a.size() != b.size()) {
        return testing::AssertionFailure()
               << "'" << a.name() << "' (type " << int{a.type()} << ", " << a.size() << " children, text '"
               << a.as_string() << "') is not '" << b.name() << "' (type " << int{b.type()} << ", " << b.size()
               << " children, text '" << b.as_string() << "')";
    }
    for (json_index_t i = 0; i < a.size(); ++i) {
        if (const auto result = equal(a[i], b[i]); !result) {
            return result;
        }
    }
    return testing::AssertionSuccess();
}

} // namespace qx::test
