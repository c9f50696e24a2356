#pragma once

#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"

namespace marrowkit::jet::test {

/// Fails the test unless the call throws a RuntimeError with this number.
template <typename Call>
void ExpectError(int number, const Call& call) {
    try {
        call();
        ADD_FAILURE() << "no error, but " << number << " was expected";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, number) << error.description;
    }
}

}  // namespace marrowkit::jet::test
