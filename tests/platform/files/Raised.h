#pragma once

#include "platform/errors/RuntimeError.h"

namespace marrowkit::test {

/// The number of the error that an action raises, 0 for none.
template <typename Action>
int RaisedBy(Action action) {
    try {
        action();
    } catch (const RuntimeError& error) {
        return error.number;
    }
    return 0;
}

}  // namespace marrowkit::test
