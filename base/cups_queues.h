#pragma once

/// The print queues of CUPS. The spooler is the one that CUPS_SERVER or the client.conf files of CUPS name,
/// as they were when a thread first asked; without any, the machine's own. libcups is loaded by the first
/// call.
///
/// A spooler that stays silent costs some 3 s at most. Where there is no libcups, no spooler or no answer,
/// no queue is found. What needs a password is not answered: nobody is asked for one.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace base {

struct CupsQueue {
  std::u16string name;
  /// Where its jobs go, such as u"ipp://192.0.2.10/ipp/print"; without a password that it may hold.
  std::u16string device_uri;
};

/// The device of a queue, whose name is compared without regard to case.
std::optional<std::u16string> FindCupsDevice(std::u16string_view queue);

/// All queues that have a device, in the order in which CUPS has them; nothing when there is nobody to tell.
std::optional<std::vector<CupsQueue>> ListCupsQueues();

}  // namespace base
