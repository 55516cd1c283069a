#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

/// The machine's print queues with their ports, and the trace switch of each: on Windows those of the
/// spooler, elsewhere those of the registry file that the library reads in its place, and those of CUPS that
/// have no port there. All text is UTF-8.
///
/// Queue names are compared without regard to case. Every function throws QueueError, with one line that says
/// what is wrong, when it cannot do what it is asked.
namespace custom_bidi_tools {

struct Queue {
  std::string name;
  std::string port;
};

class QueueError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Throws for a name or a port that a queue cannot have: empty, with a control character, not UTF-8, and for
/// a name also one with a backslash or a comma.
void CheckQueueName(const std::string& name);
void CheckPortName(const std::string& port);

/// Adds a queue. Throws when there is one of that name, but not for one of CUPS: the new one comes first.
void AddQueue(const std::string& name, const std::string& port);

/// True for a queue that another spooler has besides, on Linux CUPS; its own queues stand before those.
bool IsSpoolersQueue(const std::string& name);

/// All queues, in the order of their names. `complaints`, which may be null, receives what keeps some of them from
/// being there, one sentence each: a spooler that does not answer though it is named, or is all that there is;
/// a part of the registry that is not understood.
std::vector<Queue> ListQueues(std::vector<std::string>* complaints = nullptr);

/// The port of a queue, for a queue of CUPS its device URI; nothing when there is no such queue, or no port.
std::optional<std::string> FindPort(const std::string& name);

/// Removes a queue with its trace switch. Throws when there is none of that name, and for one of CUPS.
void RemoveQueue(const std::string& name);

/// Switches the trace of a queue that exists.
void SetTrace(const std::string& name, bool on);

/// Throws when there is no queue of that name.
void RequireQueue(const std::string& name);

/// Throws when the place of all queues is one that cannot be: on Linux a home that is not an absolute path.
void CheckQueueStore();

/// The one file that the calls for all queues are traced to. It exists once there was something to trace.
std::filesystem::path TraceFilePath();

/// Makes a folder with those on the way there; it may exist already.
void MakeFolder(const std::filesystem::path& folder);

/// Makes the folder of the trace file, without which nothing is traced; it may exist already.
void MakeTraceFolder();

}  // namespace custom_bidi_tools
