#pragma once

#include <string>

/// Makes system calls and allocations of this whole process fail, whoever asks for them: also the libraries
/// that it loads, and what they load. The program has to be linked so that libraries take malloc from it.
namespace custom_bidi_test {

enum class Failing { kNothing, kSystemCalls, kAllocations };

/// A process ends with this when it crashes for a failure of the dynamic loader's own.
inline constexpr int kLoaderExit = 99;

/// From now on each system call that can fail passes through here, until the end of the process. Should it
/// crash, then what had failed and what crashed are written to this file.
void WatchThisProcess(int crash_log);

/// From now on the n-th, counting from 1, fails with a code that it may really give. If `for_ever` then so
/// does each later one of the same name.
void BeginFailing(Failing what, int n, bool for_ever);

/// Whether what has failed was asked for by the dynamic loader itself.
bool IsOfLoader();

/// Writes which calls led to what has failed.
void ShowWhereItFailed(int file);

/// All succeed again. What has failed, such as "poll"; empty when nothing has.
std::string EndFailing();

}  // namespace custom_bidi_test
