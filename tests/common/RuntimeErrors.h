#pragma once

#include "platform/RuntimeError.h"

// Run-time errors in tests that expect them.
namespace testing {

// The number of the run-time error the call raises; 0 when it raises none.
template <typename F> int errorOf(F&& call) {
    try {
        call();
    } catch (const platform::RuntimeError& error) {
        return error.number();
    }
    return 0;
}

} // namespace testing
