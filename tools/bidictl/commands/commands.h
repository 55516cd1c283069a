#pragma once

#include <string>
#include <vector>

#include "tools/bidictl/platform/console.h"
#include "tools/bidictl/text/bidictl_text.h"

/// What the program does: one function for each command, which takes what its command line says and gives the
/// program's exit code. Each throws when it fails: CommandError, or another exception whose text says why.
namespace custom_bidi_tools {

struct ItemsOptions {
  std::string queue;
  std::string default_cid;
  std::vector<std::string> names;  ///< empty: all items of the data map
  bool pretty = false;
};
int RunItems(const ItemsOptions& options);

struct StatusOptions {
  std::string printer;  ///< an address, a queue or a host's name
  bool pretty = false;
};
int RunStatus(const StatusOptions& options);

struct PortOptions {
  std::string queue;
  bool json = false;
};
int RunPort(const PortOptions& options);

struct PasswordOptions {
  std::string queue;
  std::string user;
  std::string target;
};
int RunPasswordSave(const PasswordOptions& options);
int RunPasswordTest(const PasswordOptions& options);
int RunPasswordDelete(const PasswordOptions& options);

struct CertificateOptions {
  std::string queue;
  std::string user;
  CustomBidiDword mode = 0;
  bool pem = false;
  std::string der_file;
  bool json = false;
  bool yes = false;
};
int RunCertificateShow(const CertificateOptions& options);
int RunCertificateVerify(const CertificateOptions& options);
int RunCertificateTrust(const CertificateOptions& options);

struct QueueOptions {
  std::string name;
  std::string port;
  bool json = false;
};
int RunQueueAdd(const QueueOptions& options);
int RunQueueList(const QueueOptions& options);
int RunQueueRemove(const QueueOptions& options);

struct TraceOptions {
  /// To show or follow the trace it may be empty, and else only has to exist: there is one file for all
  /// queues.
  std::string queue;
  int seconds = 0;  ///< 0: until interrupted
};
int RunTraceSwitch(const TraceOptions& options, bool on);
int RunTraceShow(const TraceOptions& options);
int RunTraceFollow(const TraceOptions& options);

// What the commands share.

/// What a message says when a call for a queue failed, for the library tells no reason but in its trace: that
/// the library's configuration is not where it looks for it, or else where to look.
std::string WhereToLook();

/// An argument as the library takes it; throws when it is not UTF-8. `what` names it in the message.
WideString WideArgument(const std::string& what, const std::string& argument);

}  // namespace custom_bidi_tools
