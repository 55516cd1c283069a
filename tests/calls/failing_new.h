#pragma once

namespace custom_bidi_test {

/// From now on the n-th allocation that the program's own code makes on this thread fails, counting from 1; 0
/// calls it off. Returns whether the one asked for before has failed. The library's code is the program's
/// here; that of the device libraries is not, nor that of the standard library, neither of which is on trial.
bool FailNthAllocation(int n);

}  // namespace custom_bidi_test
